#include "Support/Test.h"

#include <msxml2.h>
#include <objbase.h>

using namespace ZelCore::Diagnostics::Configuration;

namespace {

template <class T> using Property = CConfigurationProperty<T, 1>;
template <class E> using Collection = CConfigurationProperty<CConfigurationElementCollection<E>, 0>;

// The classes that a user would write for <shop.settings> with <shops><shop><items><item/>...

struct ItemElement final : CConfigurationElement {
    ItemElement() : CConfigurationElement(L"item") {}
    void GetProperties(PropertyList& properties) override {
        properties.insert(properties.end(), {&price, &note});
    }
    Property<std::int64_t> price{L"price", true};
    Property<std::wstring> note{L"note", false, L"none given"};
};

struct ShopElement final : CConfigurationElement {
    ShopElement() : CConfigurationElement(L"shop") {}
    void GetProperties(PropertyList& properties) override {
        properties.insert(properties.end(), {&open, &items});
    }
    Property<bool> open{L"open", false, true};
    Collection<ItemElement> items{L"items", false};
};

struct ShopSection final : CConfigurationSection {
    ShopSection() : CConfigurationSection(L"shop.settings") {}
    std::wstring GetTypeName() override {
        return L"Shop.Section,Shop";
    }
    void GetProperties(PropertyList& properties) override {
        properties.insert(properties.end(), {&text, &flag, &count, &size, &levels, &shops});
    }
    Property<std::wstring> text{L"text", false};
    Property<bool> flag{L"flag", false};
    Property<std::uint32_t> count{L"count", false, 7};
    Property<std::int64_t> size{L"size", false, -1};
    Property<SourceLevels> levels{L"levels", false, SourceLevels::Warning};
    Collection<ShopElement> shops{L"shops", false};
};

/// A user-defined type, with the function that reads it.
struct Reversed {
    std::wstring text;
};
void Deserialize(IXMLDOMNode* in, Reversed& value) {
    ZelCore::Configuration::Deserialize(in, value.text);
    std::reverse(value.text.begin(), value.text.end());
}

const wchar_t* const Name = L"g/shop.settings";

std::string Document(const std::string& section) {
    return "<configuration><configSections><sectionGroup name='g'><section name='shop.settings' "
           "type='Shop.Section,Shop'/></sectionGroup></configSections><g>" +
           section + "</g></configuration>";
}

/// With a byte order mark.
std::string Utf16(const std::u16string& text, bool bigEndian) {
    std::string bytes;
    for (const char16_t c : u'\uFEFF' + text) {
        const char low = static_cast<char>(c & 0xFF), high = static_cast<char>(c >> 8);
        bytes += bigEndian ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

CConfiguration OpenText(const std::string& text) {
    const std::wstring wide(text.begin(), text.end());
    return CConfigurationManager::OpenExeConfigurationBuffer(wide.c_str(), wide.size());
}

bool ReadSection(const std::string& text, ShopSection& section) {
    return OpenText(Document(text)).GetSection(Name, section);
}

class Configurations : public FolderTest {
protected:
    const ZelWin32::CComInitGuard com;
    bool OpenFile(const std::string& bytes, ShopSection& section) const {
        Put(L"app.config", bytes);
        return CConfigurationManager::OpenExeConfiguration(At(L"app.config")).GetSection(Name, section);
    }
};

} // namespace

TEST_F(Configurations, SectionsAreReadByType) {
    ShopSection section;
    EXPECT_EQ(section.GetName(), L"NOT PARSED");
    const std::string text =
        "<shop.settings text='a &amp; b' flag='TRUE' count='12x' size='-9000000000'>"
        "<levels> Warning, ActivityTracing 64</levels><!-- levels --><?also this?><shops><shop name='one' open='no'>"
        "<items><item name='x' price='5'/><!-- c --><any name='y'><price>6</price><note><![CDATA[<n>]]></note></any>"
        "<item name='x' price='7'/></items></shop><shop/></shops></shop.settings>";
    ASSERT_TRUE(ReadSection(text, section));
    EXPECT_EQ(section.GetName(), L"none");
    EXPECT_EQ(section.text.GetValue(), L"a & b");
    EXPECT_TRUE(section.flag.GetValue());
    EXPECT_EQ(section.count.GetValue(), 12u);
    EXPECT_EQ(section.size.GetValue(), -9'000'000'000);
    EXPECT_EQ(static_cast<std::uint32_t>(section.levels.GetValue()), 0xFF47u);
    auto& shops = section.shops.GetValue();
    ASSERT_EQ(shops.size(), 2u);
    EXPECT_FALSE(shops.at(L"one")->open.GetValue());
    EXPECT_TRUE(shops.at(L"none")->open.GetValue());
    auto& items = shops.at(L"one")->items.GetValue();
    ASSERT_EQ(items.size(), 2u);
    EXPECT_EQ(items.at(L"x")->price.GetValue(), 7) << "the later one";
    EXPECT_EQ(items.at(L"y")->price.GetValue(), 6);
    EXPECT_EQ(items.at(L"y")->note.GetValue(), L"<n>");
    EXPECT_EQ(items.at(L"x")->note.GetValue(), L"none given");
    ASSERT_TRUE(ReadSection("<shop.settings flag='1' text='attribute'><text>element</text><shops><s name='two'/>"
                            "</shops></shop.settings>",
                            section));
    EXPECT_FALSE(section.flag.GetValue());
    EXPECT_EQ(section.text.GetValue(), L"attribute");
    EXPECT_EQ(section.shops.GetValue().size(), 3u) << "reading again adds";
    EXPECT_TRUE(ReadSection("<shop.settings xmlns:p='u' p:text='other' text='own' p:count='9'/>", section));
    EXPECT_EQ(section.text.GetValue(), L"own");
    EXPECT_EQ(section.count.GetValue(), 12u) << "stays";
}

TEST_F(Configurations, TextBecomesValues) {
    for (const wchar_t* row :
         {L"count='-1' | 4294967295", L"count='x' | 0", L"count=' 5' | 5", L"size='' | 0", L"size='0x10' | 0",
          L"flag='true ' | 0", L"flag='TrUe' | 1", L"flag='yes' | 0", L"levels='All,Critical' | 4294967295",
          L"levels='Off' | 0", L"levels='' | 0", L"levels='Information' | 15", L"levels='Verbose,,  Error' | 31",
          L"levels='16 4' | 20"}) {
        const auto [text, expected] = Cells(row);
        ShopSection section;
        ASSERT_TRUE(ReadSection("<shop.settings " + std::string(text.begin(), text.end()) + "/>", section));
        const std::int64_t value = text[0] == L'c'   ? section.count.GetValue()
                                   : text[0] == L's' ? section.size.GetValue()
                                   : text[0] == L'f' ? section.flag.GetValue()
                                                     : static_cast<std::int64_t>(section.levels.GetValue());
        EXPECT_EQ(std::to_wstring(value), expected) << text;
    }
    for (const char* word : {"warning", "Loud", "Warning;Error"}) {
        ShopSection section;
        ExpectArgument(L"value", [&] { ReadSection("<shop.settings levels='" + std::string(word) + "'/>", section); });
    }
    struct Wide final : CConfigurationSection { // unsigned long, the other type of 32 bits
        Wide() : CConfigurationSection(L"wide") {}
        std::wstring GetTypeName() override {
            return L"";
        }
        void GetProperties(PropertyList& properties) override {
            properties.insert(properties.end(), {&number, &reversed});
        }
        Property<unsigned long> number{L"number", true, 7};
        Property<Reversed> reversed{L"number", true};
    };
    for (const auto& [text, expected] :
         {std::pair{"-1", 4294967295ul}, {"12x", 12ul}, {"x", 0ul}, {"2147483647", 2147483647ul}}) {
        Wide wide;
        EXPECT_TRUE(OpenText("<configuration><system.diagnostics number='" + std::string(text) + "'/></configuration>")
                        .GetSystemDiagnosticsSection(wide));
        EXPECT_EQ(wide.number.GetValue(), expected) << text;
        EXPECT_EQ(wide.reversed.GetValue().text.front(), text[std::string(text).size() - 1]);
    }
    Property<bool> flag(L"f", false);
    Collection<ItemElement> items(L"i", false);
    ExpectNull(L"in", [&] { flag.Deserialize(nullptr); }, {.method = L"ZelCore::Configuration::Deserialize"});
    ExpectNull(L"node", [&] { items.Deserialize(nullptr); });
    ShopSection section;
    ExpectMessage<CArgumentNullException>(
        L"'Bad node ptr': parameter name: 'xmlIn'", [&] { section.Deserialize(nullptr); },
        {.method = L"CConfigurationElement::Deserialize", .file = L"Configuration.cpp"});
}

TEST_F(Configurations, SectionsAreFoundOrNot) {
    ShopSection section;
    const auto find = [&](const std::string& text, const wchar_t* name) {
        return OpenText(text).GetSection(name, section);
    };
    const std::string declared = "<configuration><configSections><section name='s' type='Shop.Section,Shop'/>"
                                 "<section name='case' type='shop.section,Shop'/><section name='untyped'/>"
                                 "</configSections><s/><case/><untyped/><undeclared/><g/></configuration>";
    EXPECT_TRUE(find(declared, L"s"));
    for (const wchar_t* name : {L"case", L"untyped", L"undeclared", L"missing", L"g/s", L"s/s"}) {
        EXPECT_FALSE(find(declared, name)) << name;
    }
    EXPECT_FALSE(find(Document(""), Name)) << "declared but not there";
    EXPECT_FALSE(find("<configuration xmlns='urn:x'/>", L"s"));
    ExpectArgument(L"name", [&] { find(declared, L""); }, {.method = L"CConfiguration::GetSection"});
    ExpectThrow<CComException>([&] { find(declared, L"it's"); });
    CConfiguration configuration = OpenText("<configuration><system.diagnostics text='x'/></configuration>");
    EXPECT_TRUE(configuration.GetSystemDiagnosticsSection(section));
    EXPECT_EQ(section.text.GetValue(), L"x");
    CConfiguration copy = configuration, moved = std::move(configuration);
    copy = moved;
    EXPECT_TRUE(copy.GetSystemDiagnosticsSection(section));
    EXPECT_FALSE(configuration.GetSystemDiagnosticsSection(section)) << "moved from";
    CConfigurationSectionGroup group;
    EXPECT_FALSE(copy.GetSectionGroup(L"g", group));
    ExpectMessage<CConfigurationException>(L"Element 'item' missing required attribute or child element 'price'.", [&] {
        ReadSection(
            "<shop.settings><shops><shop name='a'><items><item name='i'/></items></shop></shops></shop.settings>",
            section);
    });
}

/// Whether the system's parser reads these bytes at all, without the library.
static bool ParserReads(const std::string& bytes) {
    CLSID id;
    IXMLDOMDocument* document = nullptr;
    ::CLSIDFromProgID(L"Msxml2.DOMDocument.6.0", &id);
    ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, reinterpret_cast<void**>(&document));
    document->put_async(VARIANT_FALSE);
    VARIANT source;
    source.vt = VT_ARRAY | VT_UI1;
    source.parray = ::SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), static_cast<char*>(source.parray->pvData));
    VARIANT_BOOL loaded = VARIANT_FALSE;
    document->load(source, &loaded);
    ::SafeArrayDestroy(source.parray);
    document->Release();
    return loaded != VARIANT_FALSE;
}

TEST_F(Configurations, FilesComeInEveryEncoding) {
    struct Row {
        const char* encoding;
        const char* start; ///< byte order mark or declaration
        enum { Utf8, Latin, LittleEndian, BigEndian } units;
    };
    const auto encode = [](const Row& row, const std::string& text) { // "~" is the umlaut
        std::string bytes;
        std::u16string wide;
        for (const char c : text) {
            wide += c == '~' ? u'\u00FC' : static_cast<char16_t>(c);
            bytes += c != '~' ? std::string{c} : row.units == Row::Utf8 ? "\xC3\xBC" : "\xFC";
        }
        return row.units == Row::Utf8 || row.units == Row::Latin ? row.start + bytes
                                                                 : Utf16(wide, row.units == Row::BigEndian);
    };
    std::string passedOver;
    for (const Row& row : {Row{"UTF-8", "", Row::Utf8},
                           {"UTF-8 with its mark", "\xEF\xBB\xBF", Row::Utf8},
                           {"declared UTF-8", "<?xml version='1.0' encoding='utf-8'?>\n", Row::Utf8},
                           {"ISO-8859-1", "<?xml version='1.0' encoding='ISO-8859-1'?>", Row::Latin},
                           {"windows-1252", "<?xml version='1.0' encoding='windows-1252'?>", Row::Latin},
                           {"UTF-16LE", "", Row::LittleEndian},
                           {"UTF-16BE", "", Row::BigEndian}}) {
        // Windows' parser supports all of these. Wine 10's supports only UTF-8 when it reads bytes.
        if (IsWine() && row.units != Row::Utf8 && !ParserReads(encode(row, "<a>~</a>"))) {
            passedOver += std::string(" ") + row.encoding;
            continue;
        }
        SCOPED_TRACE(row.encoding);
        ShopSection section;
        ASSERT_TRUE(OpenFile(encode(row, Document("<shop.settings text='~'/>")), section));
        EXPECT_EQ(section.text.GetValue(), L"\u00FC");
    }
    if (!passedOver.empty()) {
        GTEST_SKIP() << "the parser of this emulation does not know" << passedOver;
    }
}

TEST_F(Configurations, FilesThatAreMissingOrCutAreToldApart) {
    ShopSection section;
    CConfiguration missing = CConfigurationManager::OpenExeConfiguration(At(L"missing.config"));
    EXPECT_EQ(missing.GetPath(), At(L"missing.config"));
    EXPECT_FALSE(missing.GetSection(Name, section) || missing.GetSystemDiagnosticsSection(section));
    EXPECT_TRUE(CConfigurationManager::OpenExeConfiguration(L"").GetPath().ends_with(L".exe.config"));
    const std::string whole = Document("<shop.settings text='x'/>");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        ExpectThrow<ZelXml::CXmlException>([&] { OpenFile(whole.substr(0, length), section); });
        ExpectThrow<CConfigurationException>([&] { OpenText(whole.substr(0, length)); },
                                             {.method = L"CConfigurationManager::OpenExeConfigurationBuffer"});
    }
    for (std::size_t zeros = 0; zeros < 3; ++zeros) { // the length may include the null
        EXPECT_FALSE(OpenText("<configuration/>" + std::string(zeros, '\0')).GetSection(L"s", section));
    }
    for (const std::string& text :
         {std::string("<configuration/>\0x", 18), std::string("<conf\0iguration/>\0", 18), std::string(3, '\0')}) {
        ExpectThrow<CConfigurationException>([&] { OpenText(text); });
    }
    ExpectNull(L"text", [] { CConfigurationManager::OpenExeConfigurationBuffer(nullptr, 0); });
    ExpectRange(L"length", [] { CConfigurationManager::OpenExeConfigurationBuffer(L"", 0x1'0000'0000); });
}

TEST_F(Configurations, HostileDocumentsAreRefused) {
    std::string deep, busy = "<!DOCTYPE c [<!ENTITY % p0 ' '>"; // a parser would not return from this
    for (int i = 0; i < 20'000; ++i) {
        deep += i < 10'000 ? "<a>" : "</a>";
    }
    for (const char level : {'1', '2', '3'}) {
        busy += std::string("<!ENTITY % p") + level + " '";
        for (int i = 0; i < 22; ++i) {
            busy += std::string("&#37;p") + static_cast<char>(level - 1) + ";";
        }
        busy += "'>";
    }
    ShopSection section;
    for (const std::string& prefix : {std::string("<!DOCTYPE configuration>"), busy + " %p3;]>",
                                      "<?xml version='1.0'?>\n<!-- <a> --><?p <!DOCTYPE>?> " + busy + " %p3;]>"}) {
        const std::string text = prefix + Document("<shop.settings/>");
        const std::u16string wide(text.begin(), text.end());
        for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text, Utf16(wide, false), Utf16(wide, true)}) {
            ExpectThrow<CConfigurationException>([&] { OpenFile(bytes, section); },
                                                 {.contains = (L"type definition: " + At(L"app.config")).c_str()});
        }
        ExpectThrow<CConfigurationException>([&] { OpenText(text); }, {.contains = L"document type"});
    }
    EXPECT_TRUE(OpenFile("<!-- <!DOCTYPE c> -->" + Document("<shop.settings/>"), section));
    EXPECT_THROW(OpenText(deep), CConfigurationException);
    EXPECT_THROW(OpenFile(deep, section), ZelXml::CXmlException);
}

TEST_F(Configurations, ASectionMayLieInAFileOfItsOwn) {
    const auto open = [&](const std::string& source, ShopSection& section) {
        return OpenFile(Document("<shop.settings configSource='" + source + "'/>"), section);
    };
    std::filesystem::create_directories(At(L"sub"));
    Put(L"sub\\own.config", "<shop.settings text='included'/>");
    for (const char* source : {"sub\\own.config", "sub/own.config"}) {
        ShopSection section;
        ASSERT_TRUE(open(source, section));
        EXPECT_EQ(section.text.GetValue(), L"included");
    }
    ShopSection section;
    CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(At(L"app.config"));
    EXPECT_TRUE(configuration.GetSection(Name, section));
    Put(L"sub\\own.config", "no XML");
    EXPECT_TRUE(configuration.GetSection(Name, section)) << "it took the section's place";
    ExpectThrow<ZelXml::CXmlException>([&] { open("sub\\own.config", section); },
                                       {.contains = (L"Invalid XML in " + At(L"sub\\own.config")).c_str()});
    const Failure named{.method = L"CConfiguration::GetSection", .file = L"Configuration.cpp"};
    ExpectMessage<CConfigurationException>((L"Configuration file \"" + At(L"missing") + L"\" cannot be found").c_str(),
                                           [&] { open("missing", section); }, named);
    const auto full = [&](const char* content) {
        OpenFile(Document("<shop.settings configSource='x'>" + std::string(content) + "</shop.settings>"), section);
    };
    for (const char* content : {"<a/>", "text", "<!-- c -->"}) {
        ExpectMessage<CConfigurationException>(
            L"Configuration section has \"configSource\" attribute and is not empty", [&] { full(content); }, named);
    }
    ExpectThrow<CConfigurationException>([&] { full("  \n "); }, {.contains = L"cannot be found"});
}

TEST_F(Configurations, TheSizeIsTestedBeforeTheFileIsRead) {
    Put(L"app.config", Document(""));
    const ImportHook size("GetFileSizeEx", [](HANDLE, LARGE_INTEGER* value) -> BOOL {
        value->QuadPart = 0x4000'0001;
        return TRUE;
    });
    int reads = 0;
    const ImportHook read("ReadFile", [&](HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) -> BOOL {
        ++reads;
        return FALSE;
    });
    ExpectRange(L"size", [&] { CConfigurationManager::OpenExeConfiguration(At(L"app.config")); });
    EXPECT_EQ(reads, 0);
}

/// Classes from which users may derive.
TEST_F(Configurations, ElementsOfTheLibraryCanBeDerivedFrom) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor" // as for every element
    struct Source : CTraceSourceElement {};
    struct Sources : CConfigurationElementCollection<Source> {};
    struct Text : Property<std::wstring> {
        using CConfigurationProperty::CConfigurationProperty;
        void Deserialize(IXMLDOMNode* node) override {
            CConfigurationProperty::Deserialize(node);
            GetValue() += L"!";
        }
    };
    struct Switch : CSourceSwitchElement {};
    struct Listener : CTraceListenerElement {
        void GetProperties(PropertyList& properties) override {
            CTraceListenerElement::GetProperties(properties);
            properties.push_back(&color);
        }
        Text color{L"color", false};
    };
    struct Own : CZelDiagnosticsSection {};
    struct Section : CSystemDiagnosticsSection {
        void GetProperties(PropertyList& properties) override {
            properties.push_back(&listeners);
        }
        CConfigurationProperty<CConfigurationElementCollection<Listener>, 0> listeners{L"sharedListeners", false};
    };
#pragma GCC diagnostic pop
    Section section;
    EXPECT_TRUE(OpenText("<configuration><system.diagnostics><sharedListeners><add name='l' color='red' type='FileLog' "
                         "countFailures='TRUE'/></sharedListeners></system.diagnostics></configuration>")
                    .GetSystemDiagnosticsSection(section));
    Listener& listener = *section.listeners.GetValue().at(L"l");
    EXPECT_EQ(listener.color.GetValue() + listener.type.GetValue(), L"red!FileLog");
    EXPECT_TRUE(listener.countFailures.GetValue());
    EXPECT_FALSE(std::is_final_v<CConsoleTraceListener> || std::is_final_v<CLogWriterTraceListener> ||
                 std::is_final_v<CEventProviderTraceListener>);
    Own own;
    Sources sources;
    Switch level;
    EXPECT_TRUE(own.GetLogDirectoryExpanded().empty() && sources.empty() && level.name.GetValue().empty());
}

TEST_F(Configurations, TheLogDirectoryIsExpandedAnewForEachReading) {
    CZelDiagnosticsSection section;
    const auto read = [&](const std::string& directory) {
        CConfiguration configuration =
            OpenText("<configuration><system.diagnostics logDirectory='" + directory + "'/></configuration>");
        configuration.GetSystemDiagnosticsSection(section);
        return section.GetLogDirectoryExpanded();
    };
    ::SetEnvironmentVariableW(L"ZEL_LOGS", L"C:\\x");
    EXPECT_EQ(read("%ZEL_LOGS%\\1"), L"C:\\x\\1");
    EXPECT_EQ(read("%ZEL_LOGS%\\2"), L"C:\\x\\2");
    EXPECT_EQ(read(""), L"");
}

TEST_F(Configurations, TheWordsThatAFailingCallLeavesAreToldAndNoOthers) {
    const auto leave = [](const wchar_t* words) {
        ICreateErrorInfo* create = nullptr;
        IErrorInfo* info = nullptr;
        ::CreateErrorInfo(&create);
        create->SetDescription(const_cast<wchar_t*>(words));
        create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
        ::SetErrorInfo(0, info);
        info->Release(), create->Release();
    };
    leave(L"stale words");
    try {
        CConfiguration configuration = OpenText("<configuration/>");
        leave(L"stale words");
        ShopSection section;
        configuration.GetSection(L"it's", section); // Wine leaves no words of its own
        ADD_FAILURE();
    } catch (const CComException& e) {
        EXPECT_EQ(std::wstring(e.GetErrorMessage()).find(L"stale"), std::wstring::npos) << "of another failure";
    }
    const ImportHook failing("CoCreateInstance", [&](REFCLSID, IUnknown*, DWORD, REFIID, void**) -> HRESULT {
        leave(L"the parser is on leave");
        return E_ACCESSDENIED;
    });
    ExpectMessage<CComException>(L"the parser is on leave", [] { OpenText("<r/>"); }, {.code = 0x80070005});
    IErrorInfo* left = nullptr;
    EXPECT_EQ(::GetErrorInfo(0, &left), S_FALSE) << "it is taken away";
}

TEST_F(Configurations, AFileThatShrinksWhileItIsReadIsNoticed) {
    Put(L"app.config", Document(""));
    const ImportHook hook("GetFileSizeEx", [](HANDLE, LARGE_INTEGER* size) -> BOOL {
        size->QuadPart = 4000;
        return TRUE;
    });
    ExpectError(ERROR_HANDLE_EOF, [&] { CConfigurationManager::OpenExeConfiguration(At(L"app.config")); },
                {.method = L"ZelCore::Configuration::ReadDocument"});
}

/// The methods of the parser's objects that configurations use.
static std::vector<void**> GetParserMethods() {
    CLSID id;
    IXMLDOMDocument* document = nullptr;
    IXMLDOMElement* element = nullptr;
    IXMLDOMNamedNodeMap* attributes = nullptr;
    IXMLDOMNode* attribute = nullptr;
    IXMLDOMParseError* error = nullptr;
    VARIANT_BOOL loaded = VARIANT_FALSE;
    const BSTR xml = ::SysAllocString(L"<r a='v'/>"), name = ::SysAllocString(L"a");
    ::CLSIDFromProgID(L"Msxml2.DOMDocument.6.0", &id);
    ::CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument, reinterpret_cast<void**>(&document));
    document->loadXML(xml, &loaded);
    document->get_documentElement(&element);
    document->get_parseError(&error);
    element->get_attributes(&attributes);
    attributes->getNamedItem(name, &attribute);
    ::SysFreeString(xml), ::SysFreeString(name);
    std::vector<void**> methods;
    const auto add = [&](IUnknown* object, std::size_t count) {
        const auto more = GetMethods(object, 7, count); // after those of IDispatch
        methods.insert(methods.end(), more.begin(), more.end());
        object->Release();
    };
    add(error, 14), add(attributes, 17), add(attribute, 46), add(element, 51), add(document, 82);
    return methods;
}

TEST_F(Configurations, EveryFailingCallSurfacesAndLeavesNothing) {
    Put(L"own.config", "<shop.settings text='t'><shops><shop name='s'/></shops></shop.settings>");
    Put(L"app.config", Document("<shop.settings configSource='own.config'/>"));
    const HandleBalance handles;
    FailingCalls calls({"CoCreateInstance", "SysAllocStringLen", "SafeArrayCreateVector", "CreateFileW",
                        "GetFileSizeEx", "ReadFile", "LockFileEx", "UnlockFileEx", "GetFullPathNameW"},
                       GetParserMethods());
    FailingAllocations allocations;
    const auto blocks = [] {
        std::size_t count = 0;
        PROCESS_HEAP_ENTRY entry{};
        while (::HeapWalk(::GetProcessHeap(), &entry)) {
            count += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0 ? 1 : 0;
        }
        return count;
    };
    const auto sweep = [&](auto& failing, bool memory) {
        int failures = 0;
        bool found = false;
        const auto use = [&] {
            ShopSection section;
            found = false;
            OpenText("<r/>");
            CConfiguration configuration = CConfigurationManager::OpenExeConfiguration(At(L"app.config"));
            found = configuration.GetSection(Name, section);
            // The parser does not report failures within its own search.
            EXPECT_TRUE(found || (!memory && calls.GetFailed() == "a COM method"));
        };
        Sweep<CException>(failing, use, [&](int, const CException* e) {
            EXPECT_EQ(handles.Get(), 0);
            failures += e != nullptr || (memory && !found) ? 1 : 0;
        });
        return failures;
    };
    sweep(calls, false), sweep(allocations, true); // the first sweep initializes the parser's cache
    const std::size_t before = blocks();
    const int failures = sweep(calls, false) + sweep(allocations, true);
    EXPECT_GT(failures, 50);
    EXPECT_LT(blocks(), before + static_cast<std::size_t>(failures) / 4) << "a document is many blocks";
}

TEST_F(Configurations, EveryFailingCallSurfacesAlsoWhileAFaultIsDescribed) {
    FailingCalls calls({}, GetParserMethods());
    for (const char* fault :
         {"no XML", "<configuration><configSections><section name='g' type='Shop.Section,Shop'/>"
                    "</configSections><g><shops><s><items><i/></items></s></shops></g></configuration>"}) {
        Put(L"app.config", fault);
        Sweep([&](int n) {
            calls.FailOn(n);
            try {
                ShopSection section;
                CConfigurationManager::OpenExeConfiguration(At(L"app.config")).GetSection(L"g", section);
                EXPECT_TRUE(calls.HasFailed()) << "the fault went unnoticed";
            } catch (const CException&) {
            }
            return calls.HasFailed();
        });
    }
    const ImportHook none("CoCreateInstance",
                          [](REFCLSID, IUnknown*, DWORD, REFIID, void**) -> HRESULT { return REGDB_E_CLASSNOTREG; });
    ExpectThrow<CComException>([] { OpenText("<r/>"); }, {.method = L"ZelXml::CreateDocument"});
}
