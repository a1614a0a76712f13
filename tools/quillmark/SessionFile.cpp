#include "SessionFile.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "LocalFiles.h"
#include "Paths.h"
#include "System.h"

namespace quillmark::cli {
namespace {

constexpr const char* FirstLine = "quillmark session 1";

// The file's lines: a name, one space, the value.
std::vector<std::pair<const char*, std::string StoredSession::*>> Lines() {
    return {{"server", &StoredSession::server},
            {"user", &StoredSession::user},
            {"device", &StoredSession::device},
            {"token", &StoredSession::token},
            {"device-token", &StoredSession::deviceToken},
            {"integrated", &StoredSession::integrated},
            {"authority", &StoredSession::authority},
            {"since", &StoredSession::since}};
}

void MakeFolderOf(const WideString& path) {
    const std::size_t slash = path.FindLast(QM_W('/'));
    if (slash != WideString::npos && slash > 0) {
        MakeLocalFolders(path.Substring(0, slash));
    }
}

}  // namespace

WideString DefaultSessionPath() {
    WideChar folder[MAX_PATH] = {};
    // The folder need not be there yet: SaveSession makes it.
    constexpr int DataFolder = CSIDL_LOCAL_APPDATA | CSIDL_FLAG_DONT_VERIFY;
    if (SHGetFolderPathW(nullptr, DataFolder, nullptr, SHGFP_TYPE_CURRENT, folder) != S_OK) {
        return WideString();
    }
    return JoinPath(JoinPath(folder, QM_W("quillmark")), QM_W("session"));
}

DWORD LoadSession(const WideString& path, StoredSession& session) {
    std::string text;
    if (const DWORD error = ReadLocalFile(path, 64 * 1024, text); error != ERROR_SUCCESS) {
        return error == ERROR_PATH_NOT_FOUND ? ERROR_FILE_NOT_FOUND : error;
    }
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());  // an editor's
    if (!text.starts_with(std::string(FirstLine) + "\n") || !text.ends_with('\n')) {
        return ERROR_INVALID_DATA;
    }
    if (!IsOwnersAlone(path)) {
        return ErrorNotPrivate;
    }
    for (const auto& [name, member] : Lines()) {
        const std::string key = std::string("\n") + name + " ";
        const std::size_t start = text.find(key);
        if (start != std::string::npos) {
            const std::size_t value = start + key.size();
            session.*member = text.substr(value, text.find('\n', value) - value);
        }
    }
    return session.server.empty() || session.token.empty() ? ERROR_INVALID_DATA : ERROR_SUCCESS;
}

DWORD SaveSession(const WideString& path, const StoredSession& session) {
    std::string text = FirstLine;
    for (const auto& [name, member] : Lines()) {
        const std::string& value = session.*member;
        if (value.find_first_of("\r\n") != std::string::npos) {
            return ERROR_INVALID_DATA;
        }
        if (!value.empty()) {
            text += std::string("\n") + name + " " + value;
        }
    }
    MakeFolderOf(path);
    return WritePrivateFile(path, text + "\n", OwnNewEnding());
}

}  // namespace quillmark::cli
