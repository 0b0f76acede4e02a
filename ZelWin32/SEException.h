#pragma once

#include "ZelWin32/Win32Exception.h"

#include <cstddef>
#include <string>

struct _EXCEPTION_POINTERS;

namespace ZelWin32 {

/// A structured exception (for example an access violation, a division by zero or a raised code) occurred inside the
/// scope of a CSETranslatorSentry. The code is that of the structured exception, for example 0xC0000005.
class ZELCORE_API CSEException : public CWin32Exception {
public:
    /// Translates the structured exceptions of one thread into C++ exceptions while it is in scope:
    ///
    ///     CSEException::CSETranslatorSentry sentry(nullptr);
    ///     try {
    ///         ::RaiseException(0xE0001234, 0, 0, nullptr); // what foreign code may do
    ///     } catch (const CSEException& e) {
    ///         std::printf("%08lX\n", e.GetError());
    ///     }
    ///
    /// The default translator throws ZelCore::Remoting::CRpcException for the codes 1700 to 1999, which RPC client
    /// stubs raise, and CSEException for every other code. Sentries nest; leaving the scope restores the previous
    /// state.
    ///
    /// Every structured exception handler between the fault and the sentry is called first, as the system would call
    /// it; only exceptions that none of them handles are translated. The same applies to vectored handlers that were
    /// registered before the first sentry of the process. The following are never translated: exceptions of language
    /// runtimes, thread naming, breakpoints, single steps and stack overflows. While a translator runs, its own faults
    /// are translated by the next outer sentry.
    ///
    /// A fault in a function's own instructions unwinds that function only if it was compiled with
    /// -fnon-call-exceptions; codes raised by functions that it calls have no such requirement. A fault inside a
    /// function that the compiler treats as non-throwing, for example strlen, memcpy or any noexcept function, ends the
    /// process with std::terminate, because its callers have no unwind information for that call.
    ///
    /// The first sentry of a process keeps the library loaded until the process ends.
    ///
    /// Threads: create the object on the stack of the thread whose exceptions it translates, and destroy it there in
    /// reverse order of creation. Fibers: a sentry belongs to the fiber that created it. For code built for the C
    /// runtime's own translator, which belongs to the thread, the translator installed last is in effect.
    class ZELCORE_API CSETranslatorSentry {
    public:
        /// Throws a C++ exception for a structured one; it leaves from the place of the fault. If the translator
        /// returns after a fault, the instruction is executed once more with all registers unchanged, in case the
        /// translator has removed the cause. If it faults again in the same way, and for a raised code at once, the
        /// system searches for a handler as if there were no sentry. The translator runs on the thread and the stack of
        /// the fault; the pointers are borrowed for the call.
        using Translator = void(__cdecl*)(unsigned int code, _EXCEPTION_POINTERS* pointers);

        /// Starts to translate. Throws CWin32Exception if the system has no resources for it.
        /// \param translator null for the default translator
        explicit CSETranslatorSentry(Translator translator);
        CSETranslatorSentry(const CSETranslatorSentry&) = delete;
        CSETranslatorSentry& operator=(const CSETranslatorSentry&) = delete;
        /// Restores the previous state.
        ~CSETranslatorSentry();

    private:
        struct impl;

        [[noreturn]] static void __cdecl SETranslator(unsigned int code, _EXCEPTION_POINTERS* pointers);

        impl* m_impl;
    };

    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CSEException(const CSEException&);
    ~CSEException() override;
    ///@}

    CSEException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the address of the faulting instruction. For a raised code it is the place in the system that raised it.
    const void* GetAddress() const noexcept;

    /// Returns the file name, without folder, of the module that contains the address. It is empty if there is none,
    /// for example after a call through an invalid pointer. Valid while the object lives.
    const wchar_t* GetModule() const noexcept;

    /// Returns the offset of the address from the start of its module, in bytes, for lookup in symbol files; 0 if there
    /// is no module.
    std::size_t GetOffset() const noexcept;

private:
    CSEException(unsigned long code, const void* address, const wchar_t* method, const wchar_t* file, int line);

    const void* m_address;
    std::wstring m_module;
    std::size_t m_offset = 0;
};

} // namespace ZelWin32
