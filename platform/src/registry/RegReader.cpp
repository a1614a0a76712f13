#include <algorithm>
#include <optional>
#include <utility>

#include "files/CaseFold.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Registry.h"
#include "registry/RegText.h"

namespace quillmark::platform {
namespace {

constexpr std::u16string_view LineBreaks = u"\r\n";
constexpr char16_t ReplacementCharacter = 0xFFFD;

std::u16string FromUtf8(std::string_view bytes) {
    std::u16string text = PathFromBytes(bytes);
    for (char16_t& unit : text) {
        // What was no UTF-8; a surrogate pair's second half always follows its first.
        const bool pairs = &unit != text.data() && *(&unit - 1) >= 0xD800 && *(&unit - 1) <= 0xDBFF;
        if (unit >= 0xDC80 && unit <= 0xDCFF && !pairs) {
            unit = ReplacementCharacter;
        }
    }
    return text;
}

std::u16string Decode(std::string_view bytes) {
    if (bytes.starts_with("\xFF\xFE")) {
        std::u16string text;
        text.reserve(bytes.size() / 2);
        for (std::size_t at = 2; at + 1 < bytes.size(); at += 2) {
            const auto low = static_cast<BYTE>(bytes[at]);
            const auto high = static_cast<BYTE>(bytes[at + 1]);
            text.push_back(static_cast<char16_t>(low | high << 8));
        }
        return text;
    }
    return FromUtf8(bytes.substr(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0));
}

void AppendUnit(std::vector<BYTE>& data, char16_t unit) {
    data.push_back(static_cast<BYTE>(unit & 0xFF));
    data.push_back(static_cast<BYTE>(unit >> 8));
}

std::vector<BYTE> TextData(std::u16string_view text) {
    std::vector<BYTE> data;
    data.reserve((text.size() + 1) * 2);
    for (const char16_t unit : text) {
        AppendUnit(data, unit);
    }
    AppendUnit(data, u'\0');
    return data;
}

int HexDigit(char16_t unit) {
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    const char16_t upper = FoldCase(unit);
    return upper >= u'A' && upper <= u'F' ? upper - u'A' + 10 : -1;
}

class Reader {
public:
    Reader(std::u16string_view text, const std::vector<std::u16string>& roots, KeyTree& tree)
        : m_text(text), m_roots(roots), m_tree(tree) {}

    void Run() {
        while (m_at < m_text.size()) {
            SkipBlanks();
            const std::size_t start = m_at;
            if (!ReadStatement()) {
                m_at = start;
            }
            SkipLine();
        }
    }

private:
    [[nodiscard]] char16_t Peek() const { return m_at < m_text.size() ? m_text[m_at] : u'\n'; }
    [[nodiscard]] bool AtLineEnd() const { return Peek() == u'\n' || Peek() == u'\r'; }

    void SkipBlanks() {
        while (Peek() == u' ' || Peek() == u'\t') {
            ++m_at;
        }
    }

    void SkipLine() {
        const std::size_t end = m_text.find(u'\n', m_at);
        m_at = end == std::u16string_view::npos ? m_text.size() : end + 1;
    }

    [[nodiscard]] std::u16string_view RestOfLine() const {
        const std::size_t end = m_text.find_first_of(LineBreaks, m_at);
        return m_text.substr(m_at, end == std::u16string_view::npos ? end : end - m_at);
    }

    bool Take(std::u16string_view expected) {
        const std::u16string_view next = m_text.substr(m_at, expected.size());
        const bool same = next.size() == expected.size() && FoldCase(next) == FoldCase(expected);
        m_at += same ? expected.size() : 0;
        return same;
    }

    // Only blanks or a comment are left on this line.
    bool TakeLineEnd() {
        SkipBlanks();
        return AtLineEnd() || Peek() == u';';
    }

    bool ReadStatement() {
        switch (Peek()) {
            case u'[':
                return ReadKey();
            case u'@':
            case u'"':
                return ReadValue();
            case u'R':
                m_narrow = m_narrow || RestOfLine().starts_with(u"REGEDIT4");
                return true;
            default:
                return false;
        }
    }

    // Key names may hold a closing bracket, so the last one of the line ends the path.
    bool ReadKey() {
        m_key = nullptr;
        const std::u16string_view line = RestOfLine();
        const std::size_t end = line.find_last_of(u']');
        if (end == std::u16string_view::npos) {
            return false;
        }
        const bool deletes = line.starts_with(u"[-");
        const std::size_t start = deletes ? 2 : 1;
        const KeyPath path = ParseKeyPath(line.substr(start, end - start), m_roots);
        if (path.empty()) {
            return false;
        }
        if (deletes) {
            m_tree.Delete(path);
        } else {
            m_key = m_tree.Create(path);
        }
        m_at += end;
        return true;
    }

    bool ReadValue() {
        RegistryValue value;
        if (Take(u"@")) {
            value.name.clear();
        } else if (std::optional<std::u16string> name = ReadQuoted(); name && name->size() <= LongestValueName) {
            value.name = std::move(*name);
        } else {
            return false;
        }
        SkipBlanks();
        if (m_key == nullptr || !Take(u"=")) {
            return false;
        }
        SkipBlanks();
        if (Take(u"-")) {
            if (TakeLineEnd()) {
                m_tree.DeleteValue(*m_key, value.name);
            }
            return true;
        }
        if (!ReadData(value) || !TakeLineEnd() || value.data.size() > LargestValue) {
            return false;
        }
        m_tree.Set(*m_key, std::move(value));
        return true;
    }

    bool ReadData(RegistryValue& value) {
        if (Peek() == u'"') {
            const std::optional<std::u16string> text = ReadQuoted();
            value.type = REG_SZ;
            value.data = TextData(text.value_or(std::u16string()));
            return text.has_value();
        }
        if (Take(u"dword:")) {
            value.type = REG_DWORD;
            return ReadDword(value.data);
        }
        if (!Take(u"hex")) {
            return false;
        }
        value.type = REG_BINARY;
        if (Take(u"(")) {
            const std::optional<DWORD> type = ReadNumber();
            if (!type || !Take(u")")) {
                return false;
            }
            value.type = *type;
        }
        return Take(u":") && ReadBytes(value);
    }

    // One to eight hexadecimal digits.
    std::optional<DWORD> ReadNumber() {
        DWORD number = 0;
        int digits = 0;
        for (; HexDigit(Peek()) >= 0; ++m_at, ++digits) {
            number = (number << 4) | static_cast<DWORD>(HexDigit(Peek()));
        }
        return digits >= 1 && digits <= 8 ? std::optional(number) : std::nullopt;
    }

    bool ReadDword(std::vector<BYTE>& data) {
        const std::optional<DWORD> number = ReadNumber();
        for (unsigned shift = 0; number && shift < 32; shift += 8) {
            data.push_back(static_cast<BYTE>(*number >> shift));
        }
        return number.has_value();
    }

    // A text in quotes. It may go on over lines; whether its end is the real one shows in what follows it.
    std::optional<std::u16string> ReadQuoted() {
        std::u16string text;
        for (std::size_t at = m_at + 1; at < m_text.size() && text.size() <= LargestValue / 2; ++at) {
            char16_t unit = m_text[at];
            if (unit == u'"') {
                m_at = at + 1;
                return text;
            }
            if (unit == u'\\' && at + 1 < m_text.size()) {
                unit = m_text[++at];
            }
            text.push_back(unit);
        }
        return std::nullopt;
    }

    // A backslash at the end of a line continues it.
    void SkipContinuation() {
        SkipBlanks();
        while (Peek() == u'\\' &&
               m_text.find_first_not_of(u" \t", m_at + 1) == m_text.find_first_of(LineBreaks, m_at + 1)) {
            SkipLine();
            SkipBlanks();
        }
    }

    bool ReadBytes(RegistryValue& value) {
        SkipContinuation();
        while (!AtLineEnd() && Peek() != u';') {
            const int high = HexDigit(Peek());
            if (high < 0 || value.data.size() > LargestValue) {
                return false;
            }
            ++m_at;
            const int low = HexDigit(Peek());
            m_at += low >= 0 ? 1 : 0;
            value.data.push_back(static_cast<BYTE>(low >= 0 ? high << 4 | low : high));
            SkipContinuation();
            if (!Take(u",") && !AtLineEnd() && Peek() != u';') {
                return false;
            }
            SkipContinuation();
        }
        WidenText(value);
        return true;
    }

    // In the older format the bytes of texts are narrow.
    void WidenText(RegistryValue& value) const {
        if (!m_narrow || (value.type != REG_SZ && value.type != REG_EXPAND_SZ && value.type != REG_MULTI_SZ)) {
            return;
        }
        const std::u16string text = FromUtf8({reinterpret_cast<const char*>(value.data.data()), value.data.size()});
        value.data = TextData(text);
        value.data.resize(value.data.size() - 2);
    }

    const std::u16string_view m_text;
    const std::vector<std::u16string>& m_roots;
    KeyTree& m_tree;
    std::size_t m_at = 0;
    KeyNode* m_key = nullptr;
    bool m_narrow = false;
};

}  // namespace

KeyPath ParseKeyPath(std::u16string_view text, const std::vector<std::u16string>& roots) {
    KeyPath path;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\\'), text.size());
        if (end > LongestKeyName || path.size() > DeepestKey) {
            return {};
        }
        if (end > 0) {
            path.emplace_back(text.substr(0, end));
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (path.empty()) {
        return {};
    }
    std::u16string root = FoldCase(path.front());
    if (root == u"HKEY_CLASSES_ROOT") {
        root = u"HKEY_LOCAL_MACHINE";
        path.insert(path.begin() + 1, {u"Software", u"Classes"});
    }
    path.front() = root;
    return std::find(roots.begin(), roots.end(), root) == roots.end() ? KeyPath() : path;
}

void ApplyRegFile(std::string_view bytes, const std::vector<std::u16string>& roots, KeyTree& tree) {
    const std::u16string text = Decode(bytes);
    Reader(text, roots, tree).Run();
}

}  // namespace quillmark::platform
