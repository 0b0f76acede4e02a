#include "Support/Test.h"

#include <comdef.h>

#include <cstring>

TEST(ComExceptions, TheStandardTextIsTheLibrarysOwn) {
    const _com_error error(E_ACCESSDENIED);
    const std::wstring text = CComException::GetComErrorDescription(error);
    EXPECT_FALSE(text.empty());
    // What a caller built without UNICODE leaves in the object when it has asked for the text: a narrow one.
    std::memcpy(const_cast<wchar_t*>(error.ErrorMessage()), "narrow text", 12);
    EXPECT_EQ(CComException::GetComErrorDescription(error), text);
    EXPECT_EQ(std::wstring(CComException(error, nullptr, L"", nullptr, 0).GetErrorMessage()), text);
}
