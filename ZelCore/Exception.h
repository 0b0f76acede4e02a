#pragma once

#include "ZelCore/Export.h"
#include "ZelCore/ThrowSite.h"

#include <string>

namespace ZelCore {

/// The root of every exception that the library throws: what failed, with which code, and where.
///
/// Exceptions are thrown by value and caught as `const CException&`. A caught one can be kept with
/// `Clone()` and thrown again later, on any thread, as its own type with `Throw()`.
///
/// All text arguments may be null, which counts as empty, and are copied. The one thing that is not
/// reported through this family is lack of memory, which stays `std::bad_alloc`.
///
/// Threads: an object is read by one thread at a time; the texts are composed on first request.
class ZELCORE_API CException {
public:
    CException(const CException&);
    CException& operator=(const CException&) = delete;
    virtual ~CException();

    /// Returns a copy of the most-derived object on the heap. The caller owns it.
    virtual CException* Clone() const;

    /// Throws a copy of the most-derived object; the object itself stays as it is.
    [[noreturn]] virtual void Throw() const;

    /// What failed, for people. Valid while the object lives.
    virtual const wchar_t* GetErrorMessage() const;

    /// The whole story on one line: type, source file, line and error message, such as
    /// "class ZelCore::CFormatException at Convert.cpp:91: Invalid base 64 string".
    /// Composed on the first call; later calls return the same pointer.
    virtual const wchar_t* GetExceptionMessage() const;

    /// The fully qualified name of the method that threw.
    const wchar_t* GetMethod() const noexcept;

    /// The name of the source file that threw, without its folder.
    const wchar_t* GetSourceFile() const noexcept;

    /// The line that threw; 0 where it is not known.
    int GetSourceLine() const noexcept;

protected:
    /// \param error   the numeric code of the failure: an HRESULT or the system's code
    /// \param message what failed
    /// \param method, file, line  the throw site, see ZEL_SITE; of the file only the last component is kept
    CException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);

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
