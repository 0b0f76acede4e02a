#include "ZelWin32/SEException.h"

#include "ZelCore/Remoting/RpcException.h"
#include "ZelWin32/LastError.h"
#include "ZelWin32/PEModule.h"
#include "ZelWin32/StructuredExceptions.h"
#include "ZelWin32/Windows.h"

namespace ZelWin32 {

namespace {

/// The C runtime has its own translator for code built by compilers that call it. The runtime's import library for this
/// compiler does not contain the function, so it is looked up by its decorated name.
CSEException::CSETranslatorSentry::Translator
SetRuntimeTranslator(CSEException::CSETranslatorSentry::Translator translator) noexcept {
    using Translator = CSEException::CSETranslatorSentry::Translator;
    using SetFunction = Translator(__cdecl*)(Translator);
    static const auto set = reinterpret_cast<SetFunction>(reinterpret_cast<void*>(::GetProcAddress(
        ::GetModuleHandleW(L"msvcrt"), "?_set_se_translator@@YAP6AXIPEAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z")));
    return set != nullptr ? set(translator) : nullptr;
}

} // namespace

struct CSEException::CSETranslatorSentry::impl {
    Translator runtimePrevious = nullptr;
    SETranslationScope scope;
};

CSEException::CSETranslatorSentry::CSETranslatorSentry(Translator translator) : m_impl(new impl) {
    const Translator chosen = translator != nullptr ? translator : &SETranslator;
    if (!EnterSETranslation(m_impl->scope, chosen, this)) {
        delete m_impl;
        // Unreached: the first scope of a process fails only without FLS slots or memory.
        ThrowLastError(ZEL_SITE(L"ZelWin32::CSEException::CSETranslatorSentry::CSETranslatorSentry"));
    }
    m_impl->runtimePrevious = SetRuntimeTranslator(chosen);
}

CSEException::CSETranslatorSentry::~CSETranslatorSentry() {
    SetRuntimeTranslator(m_impl->runtimePrevious);
    LeaveSETranslation(m_impl->scope);
    delete m_impl;
}

void CSEException::CSETranslatorSentry::SETranslator(unsigned int code, _EXCEPTION_POINTERS* pointers) {
    if (IsRpcStatus(code)) {
        throw ZelCore::Remoting::CRpcException(
            static_cast<long>(code), ZEL_SITE(L"ZelWin32::CSEException::CSETranslatorSentry::SETranslator", 37));
    }
    throw CSEException(code, pointers->ExceptionRecord->ExceptionAddress,
                       ZEL_SITE(L"ZelWin32::CSEException::CSETranslatorSentry::SETranslator", 41));
}

CSEException::CSEException(unsigned long code, const void* address, const wchar_t* method, const wchar_t* file,
                           int line)
    : CWin32Exception(code, nullptr, method, file, line), m_address(address) {
    // A null address would refer to the program itself.
    if (void* const module = address != nullptr ? CPEModule::GetModuleHandleOf(address) : nullptr) {
        const std::wstring path = CPEModule::GetModuleFileNameW(module);
        m_module = path.substr(path.find_last_of(L'\\') + 1);
        m_offset = static_cast<std::size_t>(static_cast<const char*>(address) - static_cast<const char*>(module));
    }
}

CSEException::CSEException(const CSEException&) = default;

CSEException::~CSEException() = default;

CSEException* CSEException::Clone() const {
    return new CSEException(*this);
}

void CSEException::Throw() const {
    throw CSEException(*this);
}

const void* CSEException::GetAddress() const noexcept {
    return m_address;
}

const wchar_t* CSEException::GetModule() const noexcept {
    return m_module.c_str();
}

std::size_t CSEException::GetOffset() const noexcept {
    return m_offset;
}

} // namespace ZelWin32
