#pragma once

#include "ZelCore/Export.h"
#include "ZelCore/ThrowSite.h"

#include <string>

/// The exception family, strings and conversions, dates and lengths of time, identifiers and versions, asynchronous
/// results, resources.
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
    CException& operator=(const CException&) = delete;
    /// Pointers to the texts end with the object.
    virtual ~CException();

    /// Returns a copy of the most-derived object on the heap. The caller owns it.
    ///
    /// Every class of the family overrides this and Throw. A class of your own has to as well: without that, its
    /// objects are cloned and thrown as their base class. Throws std::bad_alloc.
    virtual CException* Clone() const;

    /// Throws a copy of the most-derived object; the object itself stays as it is.
    [[noreturn]] virtual void Throw() const;

    /// What failed, for people: the message, in some derived classes with more behind it. Never null. Valid while the
    /// object lives.
    virtual const wchar_t* GetErrorMessage() const;

    /// The whole story on one line: type, source file, line and error message, such as
    /// "class ZelCore::CFormatException at Convert.cpp:91: Invalid base 64 string".
    /// Composed on the first call; later calls return the same pointer, valid while the object lives.
    virtual const wchar_t* GetExceptionMessage() const;

    /// The fully qualified name of the method that threw; empty where it is not known. Valid while the object lives.
    const wchar_t* GetMethod() const noexcept;

    /// The name of the source file that threw, without its folder; empty where it is not known. Valid while the object
    /// lives.
    const wchar_t* GetSourceFile() const noexcept;

    /// The line that threw; 0 where it is not known.
    int GetSourceLine() const noexcept;

protected:
    /// Copies code and texts; for derived classes, since a copy of the base alone would lose the rest. Clone copies an
    /// object whole.
    CException(const CException&);

    /// \param error   the numeric code of the failure: an HRESULT or the system's code
    /// \param message what failed
    /// \param method, file, line  the throw site, see ZEL_SITE; of the file only the last component is kept
    CException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line);

    /// The numeric code, as it was given to the constructor. Classes whose code tells more than their type make it
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
