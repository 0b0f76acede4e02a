#include "PublicHeaders.h"
#include "Support/Child.h"
#include "Support/ImportHook.h"

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <typeinfo>

namespace {

const char* g_sites = nullptr;

/// Records where an exception of the library was thrown, for scripts/coverage.
[[noreturn]] void NoteAndThrow(void* object, std::type_info* type, void (*destroy)(void*)) {
    void* root = object;
    if (typeid(ZelCore::CException).__do_catch(type, &root, 1)) {
        if (std::FILE* const file = std::fopen(g_sites, "ab")) {
            const auto& e = *static_cast<const ZelCore::CException*>(root);
            std::fprintf(file, "%ls:%d %ls\n", e.GetSourceFile(), e.GetSourceLine(), e.GetMethod());
            std::fclose(file);
        }
    }
    abi::__cxa_throw(object, type, destroy);
}

} // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    std::optional<ZelTest::ImportHook> sites;
    if ((g_sites = std::getenv("ZEL_THROW_SITES")) != nullptr) {
        sites.emplace("__cxa_throw", reinterpret_cast<void*>(&NoteAndThrow));
    }
    const int failed = RUN_ALL_TESTS();
    if (argc > 1 && std::string_view(argv[1]) == "--child") {
        return failed == 0 && ::testing::UnitTest::GetInstance()->successful_test_count() == 1 ? ZelTest::ChildPassed
                                                                                               : 1;
    }
    return failed;
}
