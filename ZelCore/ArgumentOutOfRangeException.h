#pragma once

#include "ZelCore/ArgumentException.h"

namespace ZelCore {

/// A number or an enumeration value lies outside of what its method takes.
class ZELCORE_API CArgumentOutOfRangeException : public CArgumentException {
public:
    /// \param paramName   the argument as its method declares it
    /// \param actualValue the refused value as text; null is kept as "<null>"
    /// \param message     what goes in front of ": argument is out of range, actual value was ..."
    /// \param method,file,line  the throw site, see ZEL_SITE
    CArgumentOutOfRangeException(const wchar_t* paramName, const wchar_t* actualValue, const wchar_t* message,
                                 const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to an object's texts end with it.
    ///@{
    CArgumentOutOfRangeException(const CArgumentOutOfRangeException&);
    ~CArgumentOutOfRangeException() override;
    ///@}

    CArgumentOutOfRangeException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// The refused value as text, "<null>" for null. Valid while the object lives.
    const wchar_t* GetActualValue() const noexcept;

private:
    std::wstring m_actualValue;
};

} // namespace ZelCore
