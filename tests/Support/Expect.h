#pragma once

#include "ZelCore/ArgumentOutOfRangeException.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <typeinfo>

namespace ZelTest {

/// What a failure has to look like; what is left out is not looked at.
struct Failure {
    std::optional<unsigned long> code{};
    const wchar_t* param = nullptr;
    const wchar_t* message = nullptr;  ///< the whole error message
    const wchar_t* contains = nullptr; ///< a part of it
    const wchar_t* method = nullptr;
    std::optional<int> line{};
    const wchar_t* file = nullptr;
};

template <class Exception> void ExpectLooksLike(const Exception& e, const Failure& expected) {
    using Text = std::wstring;
    EXPECT_EQ(typeid(e), typeid(Exception)) << "a derived class was thrown";
    if constexpr (requires { e.GetError(); }) {
        if (expected.code) {
            EXPECT_EQ(static_cast<unsigned long>(e.GetError()), *expected.code);
        }
    }
    if constexpr (requires { e.GetParamName(); }) {
        if (expected.param != nullptr) {
            EXPECT_EQ(Text(e.GetParamName()), expected.param);
        }
    }
    if (expected.message != nullptr) {
        EXPECT_EQ(Text(e.GetErrorMessage()), expected.message);
    }
    if (expected.contains != nullptr) {
        EXPECT_NE(Text(e.GetErrorMessage()).find(expected.contains), Text::npos) << Text(e.GetErrorMessage());
    }
    if (expected.method != nullptr) {
        EXPECT_EQ(Text(e.GetMethod()), expected.method);
    }
    if (expected.line) {
        EXPECT_EQ(e.GetSourceLine(), *expected.line);
    }
    if (expected.file != nullptr) {
        EXPECT_EQ(Text(e.GetSourceFile()), expected.file);
    }
}

/// Runs an action that must fail with exactly this class of exception.
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

} // namespace ZelTest
