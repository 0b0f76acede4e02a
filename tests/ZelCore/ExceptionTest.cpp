#include "Support/Test.h"

#include <comdef.h>

namespace {

// CException's code is protected; classes that publish it have their own accessor.
template <class Exception> struct Exposed : Exception {
    explicit Exposed(const Exception& e) : Exception(e) {}
    unsigned long Code() const {
        return static_cast<unsigned long>(CException::GetError());
    }
};

template <class Exception>
void Check(const Exception& e, unsigned long code, const wchar_t* message, const wchar_t* name) {
    SCOPED_TRACE(name);
    EXPECT_EQ(Exposed<Exception>(e).Code(), code);
    const std::unique_ptr<CException> clone(static_cast<const CException&>(e).Clone());
    static_assert(std::is_same_v<decltype(e.Clone()), Exception*>);
    ExpectMessage<Exception>(message, [&] { clone->Throw(); }, {.method = L"N::C::M", .line = 7, .file = L"C.cpp"});
    const std::wstring text = e.GetExceptionMessage();
    EXPECT_EQ(text, std::wstring(L"class ") + name + L" at C.cpp:7: " + message);
    EXPECT_EQ(e.GetExceptionMessage(), e.GetExceptionMessage());
}

} // namespace

#define SITE L"N::C::M", L"N\\C.cpp", 7

TEST(Exception, EveryMemberHasItsCodeItsTextAndItsTypeAfterAClone) {
    Check(CArgumentException(L"p", L"m", SITE), 0x80070057, L"'m': parameter name: 'p'",
          L"ZelCore::CArgumentException");
    Check(CArgumentNullException(L"stream", nullptr, SITE), 0x80070057,
          L"'Argument cannot be null': parameter name: 'stream'", L"ZelCore::CArgumentNullException");
    Check(CArgumentOutOfRangeException(L"p", L"8", L"m", SITE), 0x80070057,
          L"'m: argument is out of range, actual value was 8': parameter name: 'p'",
          L"ZelCore::CArgumentOutOfRangeException");
    Check(CFormatException(L"m", SITE), 0x80131537, L"m", L"ZelCore::CFormatException");
    Check(CInvalidOperationException(L"m", SITE), 0x80131509, L"m", L"ZelCore::CInvalidOperationException");
    Check(CNotImplementedException(L"m", SITE), 0x80004001, L"'m': the method 'N::C::M' is not implemented",
          L"ZelCore::CNotImplementedException");
    Check(CNotSupportedException(L"m", SITE), 0xF3351BB6, L"m", L"ZelCore::CNotSupportedException");
    Check(CTimeoutException(L"m", SITE), 0x80131906, L"m", L"ZelCore::CTimeoutException");
    Check(CIOException(-5, L"m", SITE), static_cast<unsigned long>(-5), L"m: '-5'", L"ZelCore::IO::CIOException");
    Check(CConfigurationException(L"m", SITE), 0x80131501, L"m", L"ZelCore::Configuration::CConfigurationException");
    Check(ZelXml::CXmlException(12, L"m", SITE), 12, L"m", L"ZelXml::CXmlException");
    const std::wstring system = L"m: " + CWin32Exception::FormatMessageW(5);
    Check(CWin32Exception(5, L"m", SITE), 5, system.c_str(), L"ZelWin32::CWin32Exception");
    Check(ZelNet::Sockets::CSocketException(5, L"m", SITE), 5, system.c_str(), L"ZelNet::Sockets::CSocketException");
    const std::wstring com = std::wstring(L"m: ") + _com_error(E_ACCESSDENIED).ErrorMessage();
    Check(CComException(E_ACCESSDENIED, L"m", SITE), 0x80070005, com.c_str(), L"ZelWin32::CComException");
    const CRpcException rpc(1722, SITE);
    Check(rpc, 1722, std::wstring(rpc.GetErrorMessage()).c_str(), L"ZelCore::Remoting::CRpcException");
    EXPECT_GT(std::wstring(rpc.GetErrorMessage()).size(), 5u);
    EXPECT_GE(rpc.GetErrorMessage()[std::wcslen(rpc.GetErrorMessage()) - 1], L' ') << "a line break is left";
}

static_assert(!std::is_copy_constructible_v<CException>, "a copy of the base alone would lose the rest");

TEST(Exception, NullTextsCountAsEmpty) {
    const CArgumentException none(nullptr, nullptr, nullptr, nullptr, 0);
    ExpectLooksLike(none, {.param = L"", .message = L"", .method = L"", .line = 0, .file = L""});
    EXPECT_STREQ(none.GetExceptionMessage(), L"class ZelCore::CArgumentException at :0: ");
    ExpectLooksLike(CArgumentNullException(nullptr, L"", SITE), {.message = L"Argument cannot be null"});
    const CArgumentOutOfRangeException outOfRange(L"p", nullptr, nullptr, SITE);
    EXPECT_STREQ(outOfRange.GetActualValue(), L"<null>");
    ExpectLooksLike(outOfRange, {.contains = L"': argument is out of range, actual value was <null>'"});
    ExpectLooksLike(CIOException(-3, nullptr, SITE), {.message = L": '-3'"});
    ExpectLooksLike(CNotImplementedException(nullptr, nullptr, nullptr, 0),
                    {.message = L"'': the method '' is not implemented"});
    for (const wchar_t* path : {L"C.cpp", L"a/b\\C.cpp", L"N/C.cpp"}) {
        EXPECT_STREQ(CFormatException(nullptr, nullptr, path, 1).GetSourceFile(), L"C.cpp");
    }
}

TEST(Exception, SystemTextsHaveNoLineBreaksAndUnknownCodesSaySo) {
    const std::wstring known = CWin32Exception::FormatMessageW(5);
    EXPECT_EQ(known.find(L"Error 5: "), 0u);
    EXPECT_EQ(known.find_first_of(L"\r\n"), std::wstring::npos);
    EXPECT_EQ(CWin32Exception::FormatMessageW(0xC0FFEE), L"Unknown error: 12648430");
    EXPECT_EQ(CWNetException::FormatMessageW(5), known);
    EXPECT_EQ(CWNetException::FormatMessageW(1208), CWin32Exception::FormatMessageW(1208));
    // A provider's text and a status without text are difficult to cause, so the calls are replaced.
    const ImportHook network("WNetGetLastErrorW", [](DWORD* code, wchar_t* text, DWORD, wchar_t* name, DWORD) -> DWORD {
        *code = 77;
        std::wcscpy(text, L"no carrier");
        std::wcscpy(name, L"Net");
        return NO_ERROR;
    });
    EXPECT_EQ(CWNetException::FormatMessageW(1208), L"Net failed with code 77: no carrier");
    const ImportHook rpc("DceErrorInqTextW", [](long, wchar_t*) -> long { return 87; });
    EXPECT_STREQ(CRpcException(1999, SITE).GetErrorMessage(), L"Unknown error 1999");
}

TEST(Exception, ComErrorsGiveTheirOwnDescriptionAndKeepNothing) {
    ICreateErrorInfo* creator = nullptr;
    ASSERT_HRESULT_SUCCEEDED(::CreateErrorInfo(&creator));
    creator->SetDescription(const_cast<wchar_t*>(L"the disk is on fire"));
    creator->SetSource(const_cast<wchar_t*>(L"Fire.Alarm"));
    IErrorInfo* info = nullptr;
    creator->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
    {
        const _com_error rich(E_FAIL, info); // takes over the reference
        ExpectLooksLike(CComException(rich, L"m", SITE), {.code = 0x80004005, .message = L"m: the disk is on fire"});
        ExpectLooksLike(CComException(rich, L"", SITE), {.message = L"the disk is on fire"});
        EXPECT_EQ(CComException::GetComErrorSource(rich), L"Fire.Alarm");
        EXPECT_EQ(CComException::GetComErrorSource(_com_error(E_FAIL)), L"");
    }
    EXPECT_EQ(creator->Release(), 0u) << "the exception holds on to the error object";
}

TEST(Exception, SurvivesInExceptionPointersAcrossTheLibrary) {
    std::exception_ptr kept;
    try {
        CArgumentOutOfRangeException(L"p", L"9", nullptr, SITE).Throw();
    } catch (...) {
        kept = std::current_exception();
    }
    ExpectRange(L"p", [&] { std::rethrow_exception(kept); });
    EXPECT_EQ(std::uncaught_exceptions(), 0);
}
