#include "ZelCore/Exception.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <thread>

namespace {

/// Ends a test program that hangs, and says in which test.
class Watchdog final : public ::testing::EmptyTestEventListener {
public:
    Watchdog() {
        std::thread([this] {
            for (;;) {
                std::this_thread::sleep_for(std::chrono::seconds(1));
                if (m_name != nullptr && ++m_seconds > 240) {
                    std::fprintf(stderr, "hanging in %s.%s\n", m_suite.load(), m_name.load());
                    std::_Exit(3);
                }
            }
        }).detach();
    }
    void OnTestStart(const ::testing::TestInfo& test) override {
        m_seconds = 0;
        m_suite = test.test_suite_name();
        m_name = test.name();
    }
    void OnTestEnd(const ::testing::TestInfo&) override {
        m_name = nullptr;
    }

private:
    std::atomic<int> m_seconds{0};
    std::atomic<const char*> m_suite{nullptr};
    std::atomic<const char*> m_name{nullptr};
};

/// What no test has caught, with its text: the exceptions of the library are not those of the standard.
void Describe() {
    try {
        std::rethrow_exception(std::current_exception());
    } catch (const ZelCore::CException& e) {
        std::fwprintf(stderr, L"uncaught: %ls\n", e.GetExceptionMessage());
    } catch (...) {
        std::fprintf(stderr, "uncaught exception\n");
    }
    std::_Exit(4);
}

} // namespace

int main(int argc, char** argv) {
    std::set_terminate(&Describe);
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return RUN_ALL_TESTS();
}
