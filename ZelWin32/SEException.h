#pragma once

#include "ZelWin32/Win32Exception.h"

#include <cstddef>
#include <string>

struct _EXCEPTION_POINTERS;

namespace ZelWin32 {

/// A structured exception (an access violation, a division by zero, a raised code) arrived inside the scope
/// of a CSETranslatorSentry. The code is the structured exception's, such as 0xC0000005.
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
    /// The library's own translator throws ZelCore::Remoting::CRpcException for the codes 1700 to 1999, which
    /// RPC client stubs raise, and CSEException for every other code. Sentries nest; leaving the scope puts
    /// back what was there before.
    ///
    /// Every structured handler between the fault and the sentry is asked first, as the system would ask it; only what
    /// none of them handles is translated. So are vectored handlers that were registered before the process's first
    /// sentry. Never translated are the exceptions of language runtimes, the naming of threads, breakpoints, single
    /// steps and stack overflows. While a translator runs, its own faults go to the sentry outside of its own.
    ///
    /// A function unwinds from a fault in its own instructions only if it was compiled with -fnon-call-exceptions;
    /// codes raised by functions that it calls need nothing. A fault inside a function that the compiler holds for one
    /// that cannot throw, such as strlen, memcpy or anything noexcept, ends the process with std::terminate: its
    /// callers have no unwinding for that call.
    ///
    /// The first sentry of a process keeps the library loaded until the process ends.
    ///
    /// Threads: create it on the thread whose exceptions it is to translate, on the stack, and destroy it there
    /// in reverse order of creation. Fibers: a sentry belongs to the fiber that created it. Code built for the C
    /// runtime's own translator, which belongs to the thread, has the one that was installed last.
    class ZELCORE_API CSETranslatorSentry {
    public:
        /// Throws a C++ exception for a structured one, which then leaves from the place of the fault. If it returns,
        /// a faulting instruction is run once more with all registers as they were, in case that the translator has
        /// mended the cause; when it faults again in the same way, and for a raised code at once, the system searches
        /// for a handler as if there were no sentry. The translator runs on the thread and the stack of the fault; what
        /// the pointers lead to is borrowed for the call.
        using Translator = void(__cdecl*)(unsigned int code, _EXCEPTION_POINTERS* pointers);

        /// Begins to translate. Throws CWin32Exception when the system has no room for it.
        /// \param translator null for the library's own
        explicit CSETranslatorSentry(Translator translator);
        CSETranslatorSentry(const CSETranslatorSentry&) = delete;
        CSETranslatorSentry& operator=(const CSETranslatorSentry&) = delete;
        /// Puts back what was there before.
        ~CSETranslatorSentry();

    private:
        struct impl;

        [[noreturn]] static void __cdecl SETranslator(unsigned int code, _EXCEPTION_POINTERS* pointers);

        impl* m_impl;
    };

    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CSEException(const CSEException&);
    ~CSEException() override;
    ///@}

    CSEException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The address of the instruction that faulted. For a code that was raised, the place in the system that raised it.
    const void* GetAddress() const noexcept;

    /// The file name, without folder, of the module that the address lies in; empty where it lies in none, after a call
    /// through a bad pointer for example. Valid while the object lives.
    const wchar_t* GetModule() const noexcept;

    /// The distance of the address from the start of its module, in bytes, which symbol files are searched by; 0 where
    /// there is no module.
    std::size_t GetOffset() const noexcept;

private:
    CSEException(unsigned long code, const void* address, const wchar_t* method, const wchar_t* file, int line);

    const void* m_address;
    std::wstring m_module;
    std::size_t m_offset = 0;
};

} // namespace ZelWin32
