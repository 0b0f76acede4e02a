#include "ZelCore/Messages.h"

#include "ZelCore/String.h"
#include "ZelWin32/PEModule.h"
#include "ZelWin32/Windows.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ZelCore {

namespace {

constexpr unsigned FirstMessage = 60001;
constexpr std::size_t MessageCount = 36;
constexpr std::size_t LongestMessage = 128;

/// String resources are not null-terminated, so they are copied once. The table needs no heap memory and no destructor,
/// because exceptions are constructed when memory is short and while the process ends.
struct MessageTable {
    std::array<std::array<wchar_t, LongestMessage>, MessageCount> texts{};

    MessageTable() noexcept {
        const auto module = static_cast<HINSTANCE>(ZelWin32::CPEModule::GetModuleHandleOf(&FirstMessage));
        for (std::size_t index = 0; index < MessageCount; ++index) {
            const wchar_t* text = nullptr;
            const int length = ::LoadStringW(module, FirstMessage + static_cast<unsigned>(index),
                                             reinterpret_cast<wchar_t*>(&text), 0);
            std::copy_n(text,
                        std::clamp<std::size_t>(static_cast<std::size_t>(std::max(length, 0)), 0, LongestMessage - 1),
                        texts[index].begin());
        }
    }
};

} // namespace

const wchar_t* GetMessageText(Message message) noexcept {
    static const MessageTable table;
    return table.texts[static_cast<unsigned>(message) - FirstMessage].data();
}

std::wstring FormatOutOfRange(const wchar_t* message, const wchar_t* actualValue) {
    return CString::Format(GetMessageText(Message::ArgumentOutOfRange), message != nullptr ? message : L"",
                           actualValue);
}

} // namespace ZelCore
