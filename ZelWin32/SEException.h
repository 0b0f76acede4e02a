#pragma once

#include "ZelWin32/Win32Exception.h"

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
    /// Left alone are faults that other code on the way guards itself with structured exception handling,
    /// the exceptions of language runtimes, breakpoints and stack overflows.
    ///
    /// A function unwinds from a fault in its own instructions only if it was compiled with
    /// -fnon-call-exceptions; codes raised by functions that it calls need nothing.
    ///
    /// Threads: create it on the thread whose exceptions it is to translate, on the stack, and destroy it there
    /// in reverse order of creation. Fibers: one on the stack of each.
    class ZELCORE_API CSETranslatorSentry {
    public:
        /// Throws a C++ exception for a structured one. If it returns, the search for a handler goes on. It runs on the
        /// thread and the stack of the fault; what the pointers lead to is borrowed for the call.
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

private:
    CSEException(unsigned long code, const wchar_t* method, const wchar_t* file, int line);
};

} // namespace ZelWin32
