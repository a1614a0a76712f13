#include "common/GuidText.h"

#include <array>

namespace quillmark {
namespace {

// Of the text without braces.
constexpr std::size_t TextLength = 36;

WideString WithoutBraces(const WideString& text) {
    const bool braced = text.size() >= 2 && text[0] == QM_W('{') && text[text.size() - 1] == QM_W('}');
    return braced ? text.Substring(1, text.size() - 2) : text;
}

}  // namespace

WideString GuidText(const GUID& guid) {
    std::array<WCHAR, TextLength + 3> text = {};  // braces and terminator
    static_cast<void>(::StringFromGUID2(guid, text.data(), static_cast<int>(text.size())));
    return WithoutBraces(WideString(text.data()));
}

bool ParseGuid(const WideString& text, GUID& guid) {
    const WideString bare = WithoutBraces(text);
    GUID parsed = {};
    // The length is checked here: the platform's reader stops at the closing brace.
    if (bare.size() != TextLength ||
        FAILED(::IIDFromString((WideString(QM_W("{")) + bare + QM_W("}")).c_str(), &parsed))) {
        return false;
    }
    guid = parsed;
    return true;
}

}  // namespace quillmark
