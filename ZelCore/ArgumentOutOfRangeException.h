#pragma once

#include "ZelCore/ArgumentException.h"

namespace ZelCore {

/// A number or an enumeration value is outside the range that its method accepts.
class ZELCORE_API CArgumentOutOfRangeException : public CArgumentException {
public:
    /// \param paramName   the parameter's name as declared by its method
    /// \param actualValue the rejected value as text; null is stored as "<null>"
    /// \param message     the text before ": argument is out of range, actual value was ..."
    /// \param method,file,line  the throw site, see ZEL_SITE
    CArgumentOutOfRangeException(const wchar_t* paramName, const wchar_t* actualValue, const wchar_t* message,
                                 const wchar_t* method, const wchar_t* file, int line);
    /// A copy has its own code and texts. Pointers to the texts of an object are valid until it is destroyed.
    ///@{
    CArgumentOutOfRangeException(const CArgumentOutOfRangeException&);
    ~CArgumentOutOfRangeException() override;
    ///@}

    CArgumentOutOfRangeException* Clone() const override;
    [[noreturn]] void Throw() const override;

    /// Returns the rejected value as text, or "<null>" for null. Valid while the object lives.
    const wchar_t* GetActualValue() const noexcept;

private:
    std::wstring m_actualValue;
};

} // namespace ZelCore
