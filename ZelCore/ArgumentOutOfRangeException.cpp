#include "ZelCore/ArgumentOutOfRangeException.h"

#include "ZelCore/Messages.h"

namespace ZelCore {

namespace {

const wchar_t* OrNullText(const wchar_t* actualValue) {
    return actualValue != nullptr ? actualValue : L"<null>";
}

} // namespace

CArgumentOutOfRangeException::CArgumentOutOfRangeException(const wchar_t* paramName, const wchar_t* actualValue,
                                                           const wchar_t* message, const wchar_t* method,
                                                           const wchar_t* file, int line)
    : CArgumentException(paramName, FormatOutOfRange(message, OrNullText(actualValue)).c_str(), method, file, line),
      m_actualValue(OrNullText(actualValue)) {}

CArgumentOutOfRangeException::CArgumentOutOfRangeException(const CArgumentOutOfRangeException&) = default;

CArgumentOutOfRangeException::~CArgumentOutOfRangeException() = default;

CArgumentOutOfRangeException* CArgumentOutOfRangeException::Clone() const {
    return new CArgumentOutOfRangeException(*this);
}

void CArgumentOutOfRangeException::Throw() const {
    throw CArgumentOutOfRangeException(*this);
}

const wchar_t* CArgumentOutOfRangeException::GetActualValue() const noexcept {
    return m_actualValue.c_str();
}

} // namespace ZelCore
