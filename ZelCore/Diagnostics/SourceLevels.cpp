#include "ZelCore/Diagnostics/SourceLevels.h"

#include "ZelCore/Configuration/ConfigurationProperty.h"
#include "ZelCore/Convert.h"
#include "ZelCore/String.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace ZelCore::Configuration {

void Deserialize(IXMLDOMNode* in, Diagnostics::SourceLevels& value) {
    using Diagnostics::SourceLevels;
    const std::pair<const wchar_t*, SourceLevels> levels[] = {
        {L"Off", SourceLevels::Off},
        {L"Critical", SourceLevels::Critical},
        {L"Error", SourceLevels::Error},
        {L"Warning", SourceLevels::Warning},
        {L"Information", SourceLevels::Information},
        {L"Verbose", SourceLevels::Verbose},
        {L"ActivityTracing", SourceLevels::ActivityTracing},
        {L"All", SourceLevels::All},
    };
    std::wstring text;
    Deserialize(in, text);
    SourceLevels sum = SourceLevels::Off;
    for (const std::wstring& word : CString::Split(text, L", ")) {
        const auto level = std::find_if(std::begin(levels), std::end(levels),
                                        [&](const auto& candidate) { return word == candidate.first; });
        if (!word.empty()) {
            sum = sum | (level != std::end(levels) ? level->second
                                                   : static_cast<SourceLevels>(CConvert::ToInt32(word.c_str())));
        }
    }
    value = sum;
}

} // namespace ZelCore::Configuration
