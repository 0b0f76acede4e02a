#include "Support/ImportHook.h"

#include <windows.h>

#include <cstring>
#include <string_view>

namespace ZelTest {

namespace {

template <class T> T* At(HMODULE module, std::size_t offset) {
    return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(module) + offset);
}

void** FindSlot(HMODULE module, const char* function) {
    const auto* dos = At<IMAGE_DOS_HEADER>(module, 0);
    const auto* nt = At<IMAGE_NT_HEADERS>(module, static_cast<std::size_t>(dos->e_lfanew));
    const auto& directory = nt->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(module, directory.VirtualAddress); import->Name != 0; ++import) {
        const auto* name = At<IMAGE_THUNK_DATA>(module, import->OriginalFirstThunk);
        auto* slot = At<void*>(module, import->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (!IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal) &&
                std::strcmp(At<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData)->Name, function) == 0) {
                return slot;
            }
        }
    }
    return nullptr;
}

void WriteSlot(void** slot, void* value) {
    DWORD protection = 0;
    ::VirtualProtect(slot, sizeof(value), PAGE_READWRITE, &protection);
    *slot = value;
    ::VirtualProtect(slot, sizeof(value), protection, &protection);
}

constexpr std::size_t ThunkSize = 96;

/// Writes code that calls `decide(context)` with the arguments preserved, and then returns `failure` or jumps to the
/// original.
void WriteThunk(unsigned char* code, void* context, void* decide, void* original, std::uintptr_t failure) {
    const auto put = [&code](std::initializer_list<int> bytes) {
        for (const int byte : bytes) {
            *code++ = static_cast<unsigned char>(byte);
        }
    };
    const auto address = [&code](const void* value) {
        std::memcpy(code, &value, sizeof(value));
        code += sizeof(value);
    };
    put({0x51, 0x52, 0x41, 0x50, 0x41, 0x51, 0x48, 0x83, 0xEC, 0x28}); // push rcx, rdx, r8, r9; sub rsp, 40
    put({0x48, 0xB9}), address(context);                               // mov rcx, context
    put({0x48, 0xB8}), address(decide);                                // mov rax, decide
    put({0xFF, 0xD0, 0x48, 0x83, 0xC4, 0x28});                         // call rax; add rsp, 40
    put({0x41, 0x59, 0x41, 0x58, 0x5A, 0x59});                         // pop r9, r8, rdx, rcx
    put({0x84, 0xC0, 0x75, 0x0C, 0x48, 0xB8}), address(original);      // test al, al; jnz fail; mov rax, original
    put({0xFF, 0xE0, 0x48, 0xB8});                                     // jmp rax; fail: mov rax, failure
    address(reinterpret_cast<const void*>(failure));
    put({0xC3}); // ret
}

} // namespace

ImportHook::ImportHook(const char* function, void* replacement, const wchar_t* module)
    : m_slot(FindSlot(::GetModuleHandleW(module), function)) {
    if (m_slot == nullptr) {
        ADD_FAILURE() << function << " is not imported";
        return;
    }
    m_original = *m_slot;
    WriteSlot(m_slot, replacement);
}

ImportHook::ImportHook(void** slot, void* replacement) : m_slot(slot), m_original(*slot) {
    WriteSlot(m_slot, replacement);
}

ImportHook::~ImportHook() {
    if (m_slot != nullptr) {
        WriteSlot(m_slot, m_original);
    }
}

template <class Place> void FailingCalls::Hook(const SystemCall& call, Place place) {
    unsigned char* const code = m_code + m_thunks.size() * ThunkSize;
    Thunk& thunk = m_thunks.emplace_back(Thunk{this, call});
    const ImportHook& hook = m_hooks.emplace_back(place, code);
    WriteThunk(code, &thunk, reinterpret_cast<void*>(&ShouldFail), reinterpret_cast<void*>(hook.GetOriginal<void()>()),
               call.failure);
}

SystemCall::SystemCall(const char* call) : name(call), failure(0) {
    const std::string_view text = call;
    failure = text == "CreateFileW"        ? ~std::uintptr_t{0}
              : text == "CoCreateInstance" ? 0x80040154
              : text.starts_with("Uuid")   ? 14
              : text.starts_with("Rpc")    ? 1721
                                           : 0;
}

FailingCalls::FailingCalls(const std::vector<SystemCall>& calls, const std::vector<void**>& slots,
                           const SystemCall& failure)
    : m_thread(::GetCurrentThreadId()) {
    m_code = static_cast<unsigned char*>(::VirtualAlloc(nullptr, (calls.size() + slots.size()) * ThunkSize,
                                                        MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE));
    for (const SystemCall& call : calls) {
        Hook(call, call.name);
    }
    for (void** const slot : slots) {
        Hook(failure, slot);
    }
}

std::vector<void**> GetMethods(void* object, std::size_t first, std::size_t last) {
    void** const table = *static_cast<void***>(object);
    std::vector<void**> methods{table};
    for (; first < last; ++first) {
        methods.push_back(table + first);
    }
    return methods;
}

FailingCalls::~FailingCalls() {
    m_hooks.clear();
    ::VirtualFree(m_code, 0, MEM_RELEASE);
}

void FailingCalls::FailOn(int n) {
    m_count = 0;
    m_failOn = n;
    m_failed = n != 0 ? "" : m_failed;
}

bool FailingCalls::ShouldFail(Thunk* thunk) {
    FailingCalls& self = *thunk->owner;
    if (self.m_failOn == 0 || ::GetCurrentThreadId() != self.m_thread || ++self.m_count != self.m_failOn) {
        return false;
    }
    self.m_failed = thunk->call.name;
    ::SetLastError(thunk->call.lastError);
    return true;
}

FailingAllocations::FailingAllocations()
    : FailingCalls({},
                   {FindSlot(::GetModuleHandleW(L"libstdc++-6.dll"), "malloc"),
                    FindSlot(::GetModuleHandleW(L"ZelCore.dll"), "malloc")},
                   {"malloc", 0}) {}

void Sweep(const std::function<bool(int)>& action) {
    int n = 1;
    while (action(n)) {
        ASSERT_LT(++n, 100'000) << "the sweep does not end";
        if (::testing::Test::HasFailure()) {
            FAIL() << "at call " << n - 1;
        }
    }
    EXPECT_GT(n, 1) << "nothing was made to fail";
}

} // namespace ZelTest
