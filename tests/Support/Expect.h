#pragma once

#include "PublicHeaders.h"
#include "Support/ImportHook.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>

namespace ZelTest {

/// Splits a row of a table of texts: "a | b".
template <std::size_t Count = 2> std::array<std::wstring, Count> Cells(const std::wstring& row) {
    std::array<std::wstring, Count> cells;
    std::size_t at = 0;
    for (std::wstring& cell : cells) {
        const std::size_t end = std::min(row.find(L" | ", at), row.size());
        cell = row.substr(at, end - at);
        at = std::min(end + 3, row.size());
    }
    return cells;
}

/// The expected properties of a failure; those that are not set are not compared.
struct Failure {
    std::optional<unsigned long> code{};
    const wchar_t* param = nullptr;
    const wchar_t* message = nullptr;  ///< the whole error message
    const wchar_t* contains = nullptr; ///< a part of the error message
    const wchar_t* method = nullptr;
    std::optional<int> line{};
    const wchar_t* file = nullptr;
};

/// Compares methods; the expected one may omit its namespaces, which scripts/lint-sites checks.
inline bool IsMethod(std::wstring_view method, std::wstring_view expected) {
    const bool whole = expected.find(L'`') != std::wstring_view::npos; // the script does not check these
    return method == expected || (!whole && method.ends_with(L"::" + std::wstring(expected)));
}

template <class Exception> void ExpectLooksLike(const Exception& e, const Failure& expected) {
    using Text = std::wstring;
    EXPECT_EQ(typeid(e), typeid(Exception)) << "a derived class was thrown";
    if constexpr (requires { e.GetError(); }) {
        if (expected.code) {
            EXPECT_EQ(static_cast<unsigned long>(e.GetError()), *expected.code);
        }
    }
    // A text is requested only if it is compared, because some are composed by calls that the test makes fail.
    const auto expectText = [](const wchar_t* wanted, const auto& get) {
        if (wanted != nullptr) {
            EXPECT_EQ(Text(get()), wanted);
        }
    };
    if constexpr (requires { e.GetParamName(); }) {
        expectText(expected.param, [&] { return e.GetParamName(); });
    }
    expectText(expected.message, [&] { return e.GetErrorMessage(); });
    expectText(expected.file, [&] { return e.GetSourceFile(); });
    EXPECT_TRUE(expected.contains == nullptr || Text(e.GetErrorMessage()).find(expected.contains) != Text::npos)
        << Text(e.GetErrorMessage());
    EXPECT_TRUE(expected.method == nullptr || IsMethod(e.GetMethod(), expected.method)) << Text(e.GetMethod());
    if (expected.line) {
        EXPECT_EQ(e.GetSourceLine(), *expected.line);
    }
}

/// Runs an action that must throw exactly this class of exception.
template <class Exception, class Action> void ExpectThrow(Action&& action, const Failure& expected = {}) {
    try {
        action();
    } catch (const Exception& e) {
        ExpectLooksLike(e, expected);
        return;
    } catch (const ZelCore::CException& e) {
        ADD_FAILURE() << "another exception: " << ::testing::PrintToString(std::wstring(e.GetExceptionMessage()));
        return;
    }
    ADD_FAILURE() << "nothing was thrown";
}

/// ExpectThrow for the most frequent classes, with their main property as the first argument.
template <class Exception, auto Member> struct Expectation {
    template <class Value, class Action> void operator()(Value value, Action&& action, Failure expected = {}) const {
        if constexpr (std::is_same_v<Value, Failure>) {
            expected = value;
        } else {
            expected.*Member = value;
        }
        ExpectThrow<Exception>(action, expected);
    }
};
inline constexpr Expectation<ZelCore::CArgumentException, &Failure::param> ExpectArgument;
inline constexpr Expectation<ZelCore::CArgumentNullException, &Failure::param> ExpectNull;
inline constexpr Expectation<ZelCore::CArgumentOutOfRangeException, &Failure::param> ExpectRange;
inline constexpr Expectation<ZelCore::CInvalidOperationException, &Failure::message> ExpectInvalid;
inline constexpr Expectation<ZelWin32::CWin32Exception, &Failure::code> ExpectError;

template <class Exception> inline constexpr Expectation<Exception, &Failure::message> ExpectMessage;

/// Runs an action in which the first call of this function fails, and therefore the action.
template <class Action> void ExpectFailing(const SystemCall& call, Action&& action, const Failure& expected = {}) {
    const FailingCalls calls(call);
    const unsigned long code =
        call.failure > 1 && call.failure < 2000 ? static_cast<unsigned long>(call.failure) : call.lastError;
    ExpectError(expected.code.value_or(code), action, expected);
}

} // namespace ZelTest
