#include "Support/Test.h"

#include <comdef.h>

#include <cstring>

TEST(ComExceptions, TheStandardTextIsTheLibrarysOwn) {
    const _com_error error(E_ACCESSDENIED);
    const std::wstring text = CComException::GetComErrorDescription(error);
    EXPECT_FALSE(text.empty());
    // A caller built without UNICODE that has requested the text leaves a narrow text in the object.
    std::memcpy(const_cast<wchar_t*>(error.ErrorMessage()), "narrow text", 12);
    EXPECT_EQ(CComException::GetComErrorDescription(error), text);
    EXPECT_EQ(std::wstring(CComException(error, nullptr, L"", nullptr, 0).GetErrorMessage()), text);
}
