#include "transfer/UploadStore.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <tuple>

#include "LocalFiles.h"
#include "Paths.h"
#include "System.h"
#include "Texts.h"

namespace quillmark::cli {
namespace {

constexpr const char* FirstLine = "quillmark upload 1";
constexpr std::size_t LongestRecord = 256 * 1024;
constexpr const WideChar* Ending = QM_W(".upload");

// The file's lines: a name, one space, the value. Texts are escaped, so that none of them breaks its line.
using Lines = std::map<std::string, std::string>;

std::optional<Lines> Parse(const std::string& text) {
    Lines lines;
    std::size_t start = text.find('\n');
    if (text.substr(0, start) != FirstLine) {
        return std::nullopt;
    }
    while (start != std::string::npos && start + 1 < text.size()) {
        const std::size_t end = text.find('\n', start + 1);
        const std::string line = text.substr(start + 1, end - start - 1);
        const std::size_t space = line.find(' ');
        if (space == std::string::npos || end == std::string::npos) {
            return std::nullopt;  // the last line as well ends with a line break
        }
        lines[line.substr(0, space)] = line.substr(space + 1);
        start = end;
    }
    return lines;
}

// Takes lines apart and remembers whether one of them was missing or unreadable.
class Reader {
public:
    explicit Reader(const Lines& lines) : m_lines(lines) {}

    std::string Text(const char* name) {
        const auto found = m_lines.find(name);
        m_good = m_good && found != m_lines.end();
        return found == m_lines.end() ? std::string() : found->second;
    }
    WideString Wide(const char* name) {
        const auto text = Unescaped(Text(name));
        m_good = m_good && text;
        return text.value_or(WideString());
    }
    std::int64_t Number(const char* name) {
        const std::string text = Text(name);
        std::int64_t number = 0;
        const auto [rest, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
        m_good = m_good && failure == std::errc() && rest == text.data() + text.size();
        return number;
    }
    GUID Identifier(const char* name) {
        const auto guid = ParseGuid(Text(name));
        m_good = m_good && guid;
        return guid.value_or(GUID{});
    }
    [[nodiscard]] bool Good() const { return m_good; }

private:
    const Lines& m_lines;
    bool m_good = true;
};

std::optional<UploadRecord> ReadRecord(const WideString& path) {
    std::string text;
    if (ReadLocalFile(path, LongestRecord, text) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    const auto lines = Parse(text);
    if (!lines) {
        return std::nullopt;
    }
    Reader reader(*lines);
    UploadRecord record;
    record.key = {reader.Text("server"), reader.Text("user"), reader.Wide("remote"), reader.Wide("local")};
    record.id = reader.Identifier("id");
    record.file = {reader.Number("size"), CAttributeTime(reader.Number("modified")),
                   CAttributeTime(reader.Number("created"))};
    record.chunk = reader.Number("chunk");
    record.revision = NarrowUtf8(reader.Wide("revision"));
    record.fingerprint = {reader.Number("covered"), reader.Text("fingerprint")};
    record.conflict = reader.Number("conflict") != 0;
    const bool sensible = record.chunk > 0 && record.file.size >= 0 && record.fingerprint.end >= 0 &&
                          record.fingerprint.end <= record.file.size;
    return reader.Good() && sensible ? std::optional(record) : std::nullopt;
}

std::string TextOf(const UploadRecord& record) {
    const std::pair<const char*, std::string> lines[] = {
        {"server", record.key.server},
        {"user", record.key.user},
        {"remote", Escaped(record.key.remote)},
        {"local", Escaped(record.key.local)},
        {"id", GuidText(record.id)},
        {"size", std::to_string(record.file.size)},
        {"modified", std::to_string(record.file.modified.Ticks())},
        {"created", std::to_string(record.file.created.Ticks())},
        {"chunk", std::to_string(record.chunk)},
        {"revision", Escaped(WidenUtf8(record.revision))},
        {"covered", std::to_string(record.fingerprint.end)},
        {"fingerprint", record.fingerprint.link},
        {"conflict", record.conflict ? "1" : "0"},
    };
    std::string text = FirstLine;
    for (const auto& [name, value] : lines) {
        text += std::string("\n") + name + " " + value;
    }
    return text + "\n";
}

bool EndsWith(const WideString& text, WideView ending) {
    return text.size() >= ending.size() && text.Substring(text.size() - ending.size()).view() == ending;
}

}  // namespace

UploadStore::UploadStore(const WideString& sessionPath) {
    const WideString leaf = LeafName(sessionPath);
    m_folder = sessionPath.Substring(0, sessionPath.size() - leaf.size()) + QM_W("uploads");
}

WideString UploadStore::FileOf(const UploadKey& key) const {
    const std::string name =
        DigestOf(key.server + "\n" + key.user + "\n" + Escaped(key.remote) + "\n" + Escaped(key.local));
    return JoinPath(m_folder, WidenUtf8(name) + Ending);
}

DWORD UploadStore::Load(const UploadKey& key, UploadRecord& record) const {
    const auto found = ReadRecord(FileOf(key));
    if (!found || found->key != key) {
        return ERROR_FILE_NOT_FOUND;
    }
    record = *found;
    return ERROR_SUCCESS;
}

DWORD UploadStore::Save(const UploadRecord& record) const {
    if (const DWORD error = MakePrivateFolder(m_folder); error != ERROR_SUCCESS) {
        return error;
    }
    return WritePrivateFile(FileOf(record.key), TextOf(record));
}

DWORD UploadStore::Remove(const UploadKey& key) const {
    if (DeleteFileW(FileOf(key).c_str()) != FALSE) {
        return ERROR_SUCCESS;
    }
    const DWORD error = GetLastError();
    return IsLocalItemMissing(error) ? ERROR_SUCCESS : error;
}

DWORD UploadStore::List(const std::string& server, const std::string& user, std::vector<UploadRecord>& records) const {
    const DWORD error = ForEachLocalItem(m_folder, [&](const LocalItem& item) {
        const auto record = EndsWith(item.name, Ending) ? ReadRecord(JoinPath(m_folder, item.name)) : std::nullopt;
        if (record && record->key.server == server && record->key.user == user) {
            records.push_back(*record);
        }
    });
    std::sort(records.begin(), records.end(), [](const UploadRecord& left, const UploadRecord& right) {
        return std::tie(left.key.remote, left.key.local) < std::tie(right.key.remote, right.key.local);
    });
    return error == ERROR_PATH_NOT_FOUND ? ERROR_SUCCESS : error;
}

FileIdentity IdentityOf(const IServerAttributes& attributes) {
    return {attributes.GetSize(), attributes.GetLastWriteTime(), attributes.GetCreationTime()};
}

}  // namespace quillmark::cli
