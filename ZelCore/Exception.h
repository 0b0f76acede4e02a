#pragma once

#include "ZelCore/Export.h"
#include "ZelCore/ThrowSite.h"

#include <string>

/// The exception family, strings and conversions, dates and time spans, identifiers and versions, asynchronous results,
/// resources.
namespace ZelCore {

/// The base class of every exception that the library throws: what failed, with which code, and where.
///
/// Exceptions are thrown by value and caught as `const CException&`. `Clone()` keeps a caught exception, and `Throw()`
/// throws it again later, on any thread, as its original type.
///
/// All text arguments are copied; null counts as empty. Only lack of memory is not reported through this family: it is
/// thrown as `std::bad_alloc`.
///
/// Threads: one thread at a time may read an object, because the texts are composed on first request.
class ZELCORE_API CException {
public:
    CException& operator=(const CException&) = delete;
    /// Ends the validity of pointers to the texts.
    virtual ~CException();

    /// Returns a copy of the most-derived object on the heap. The caller owns it.
    ///
    /// Every class of the family overrides Clone and Throw. A class of your own must do so too; otherwise its objects
    /// are cloned and thrown as their base class. Throws std::bad_alloc.
    virtual CException* Clone() const;

    /// Throws a copy of the most-derived object. The object itself does not change.
    [[noreturn]] virtual void Throw() const;

    /// Returns a human-readable description: the message, extended by some derived classes. Never null. Valid while the
    /// object lives.
    virtual const wchar_t* GetErrorMessage() const;

    /// Returns type, source file, line and error message on one line, for example "class ZelCore::CFormatException at
    /// Convert.cpp:91: Invalid base 64 string". It is composed on the first call; later calls return the same pointer,
    /// which is valid while the object lives.
    virtual const wchar_t* GetExceptionMessage() const;

    /// Returns the fully qualified name of the method that threw, or an empty string if unknown. Valid while the object
    /// lives.
    const wchar_t* GetMethod() const noexcept;

    /// Returns the name of the source file that threw, without its folder, or an empty string if unknown. Valid while
    /// the object lives.
    const wchar_t* GetSourceFile() const noexcept;

    /// Returns the line that threw, or 0 if unknown.
    int GetSourceLine() const noexcept;

protected:
    /// Copies code and texts. Protected, because copying the base alone would slice a derived object; Clone copies the
    /// whole object.
    CException(const CException&);

    /// \param error   the numeric code of the failure: an HRESULT or a system error code
    /// \param message what failed
    /// \param method, file, line  the throw site, see ZEL_SITE; only the last component of the file is kept
    CException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);

    /// Returns the numeric code given to the constructor. Classes whose code adds information to their type make it
    /// public.
    int GetError() const noexcept;

private:
    std::wstring m_message;
    std::wstring m_method;
    std::wstring m_sourceFile;
    int m_sourceLine;
    int m_error;
    mutable std::wstring m_exceptionText;
};

} // namespace ZelCore
