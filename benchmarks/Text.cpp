#include "Measure.h"

#include "ZelCore/ArgumentNullException.h"
#include "ZelCore/Convert.h"
#include "ZelCore/String.h"

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <wchar.h>

namespace ZelBench {

namespace {

using ZelCore::CConvert;
using ZelCore::CString;

constexpr std::size_t InputSize = 65536;

/// Prevents the compiler from removing work whose result is not used.
template <class T> void Use(const T& value) {
    __asm__ volatile("" : : "r"(&value) : "memory");
}

template <class Action> std::function<void()> Repeated(int times, Action action) {
    return [times, action] {
        for (int i = 0; i < times; ++i) {
            action();
        }
    };
}

__attribute__((noinline)) std::size_t FormatByHand(wchar_t* buffer, std::size_t size, const wchar_t* format, ...) {
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    const int length = ::_vscwprintf(format, again);
    va_end(again);
    ::_vsnwprintf_s(buffer, size, static_cast<std::size_t>(length), format, arguments);
    va_end(arguments);
    return static_cast<std::size_t>(length);
}

__attribute__((noinline)) void ThrowByHand(const void* argument) {
    if (argument == nullptr) {
        throw std::runtime_error("Argument cannot be null");
    }
}

} // namespace

std::vector<Benchmark> MakeTextBenchmarks() {
    static const std::string text = MakeMixedText(InputSize);
    static const auto* const data = reinterpret_cast<const unsigned char*>(text.data());
    static const std::wstring base64 = CConvert::ToBase64String(data, InputSize, false);
    static const std::wstring hex = CConvert::ToHexString(data, InputSize);
    static std::vector<unsigned char> target(InputSize);
    const auto copy = Repeated(200, [] {
        std::memcpy(target.data(), data, InputSize);
        Use(target);
    });
    return {
        {"Base64 of 64 KiB, encode", "memcpy", 25, 9,
         Repeated(200, [] { Use(CConvert::ToBase64String(data, InputSize, false)); }), copy},
        {"Base64 of 64 KiB, decode", "memcpy", 25, 9,
         Repeated(200, [] { Use(CConvert::FromBase64String(base64.c_str())); }), copy},
        {"hex of 64 KiB, encode", "memcpy", 25, 9, Repeated(200, [] { Use(CConvert::ToHexString(data, InputSize)); }),
         copy},
        {"hex of 64 KiB, decode", "memcpy", 25, 9, Repeated(200, [] { Use(CConvert::FromHexString(hex.c_str())); }),
         copy},
        {"CString::Format", "counting and filling call", 1.3, 9,
         Repeated(20'000,
                  [] { Use(CString::Format(L"%s at %d: '%s' 0x%08lx", L"some text", 42, L"more text", 4711ul)); }),
         Repeated(20'000,
                  [] {
                      wchar_t buffer[200];
                      FormatByHand(buffer, 200, L"%s at %d: '%s' 0x%08lx", L"some text", 42, L"more text", 4711ul);
                      Use(buffer);
                  })},
        {"throw CArgumentNullException", "throw std::runtime_error", 1.3, 9,
         Repeated(5'000,
                  [] {
                      try {
                          CString::Compare(nullptr, L"", ZelCore::StringComparison::Ordinal);
                      } catch (const ZelCore::CException& e) {
                          Use(e);
                      }
                  }),
         Repeated(5'000,
                  [] {
                      try {
                          ThrowByHand(nullptr);
                      } catch (const std::exception& e) {
                          Use(e);
                      }
                  })},
    };
}

} // namespace ZelBench
