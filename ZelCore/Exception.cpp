#include "ZelCore/Exception.h"

#include "ZelCore/Messages.h"
#include "ZelCore/String.h"
#include "ZelWin32/Windows.h"

#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#include <typeinfo>

namespace ZelCore {

namespace {

const wchar_t* OrEmpty(const wchar_t* text) {
    return text != nullptr ? text : L"";
}

/// Returns the readable name of a type, "class ZelCore::CException", because type_info has the mangled one.
std::string GetReadableName(const std::type_info& type) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> readable(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
    return std::string("class ") + (readable ? readable.get() : type.name());
}

} // namespace

CException::CException(int error, const wchar_t* message, const wchar_t* method, const wchar_t* file, int line)
    : m_message(OrEmpty(message)), m_method(OrEmpty(method)), m_sourceFile(::PathFindFileNameW(OrEmpty(file))),
      m_sourceLine(line), m_error(error) {}

CException::CException(const CException&) = default;

CException::~CException() = default;

CException* CException::Clone() const {
    return new CException(*this);
}

void CException::Throw() const {
    throw CException(*this);
}

const wchar_t* CException::GetErrorMessage() const {
    return m_message.c_str();
}

const wchar_t* CException::GetExceptionMessage() const {
    if (m_exceptionText.empty()) {
        m_exceptionText =
            CString::Format(GetMessageText(Message::ExceptionText), GetReadableName(typeid(*this)).c_str(),
                            m_sourceFile.c_str(), m_sourceLine, GetErrorMessage());
    }
    return m_exceptionText.c_str();
}

const wchar_t* CException::GetMethod() const noexcept {
    return m_method.c_str();
}

const wchar_t* CException::GetSourceFile() const noexcept {
    return m_sourceFile.c_str();
}

int CException::GetSourceLine() const noexcept {
    return m_sourceLine;
}

int CException::GetError() const noexcept {
    return m_error;
}

} // namespace ZelCore
