#include "LocalFiles.h"

#include "ErrorText.h"
#include "LocalFile.h"
#include "Paths.h"
#include "System.h"

namespace quillmark::cli {
namespace {

LocalItem ItemFrom(const WIN32_FIND_DATAW& data) {
    return {data.cFileName,
            (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
            (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0,
            (static_cast<std::int64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow,
            CAttributeTime::FromFileTime(data.ftCreationTime),
            CAttributeTime::FromFileTime(data.ftLastWriteTime)};
}

}  // namespace

bool IsLocalItemMissing(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

DWORD FindLocalItem(const WideString& path, LocalItem& item) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return GetLastError();
    }
    item = {LeafName(path), (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0, false, 0, {}, {}};
    return ERROR_SUCCESS;
}

DWORD ForEachLocalItem(const WideString& folder, const std::function<void(const LocalItem&)>& visit) {
    WIN32_FIND_DATAW data = {};
    HANDLE search = FindFirstFileW(JoinPath(folder, QM_W("*")).c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
    }
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> closer(search, &FindClose);
    do {
        const LocalItem item = ItemFrom(data);
        if (item.name != QM_W(".") && item.name != QM_W("..")) {
            visit(item);
        }
    } while (FindNextFileW(search, &data) != FALSE);
    const DWORD error = GetLastError();
    return error == ERROR_NO_MORE_FILES ? ERROR_SUCCESS : error;
}

DWORD LocalAttributes(const WideString& path, std::shared_ptr<IServerAttributes>& attributes) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) == FALSE) {
        return GetLastError();
    }
    attributes = MakeAttributes();
    attributes->SetCreationTime(CAttributeTime::FromFileTime(data.ftCreationTime));
    attributes->SetLastAccessTime(CAttributeTime::FromFileTime(data.ftLastAccessTime));
    attributes->SetLastWriteTime(CAttributeTime::FromFileTime(data.ftLastWriteTime));
    attributes->SetChangeTime(CAttributeTime::FromFileTime(data.ftLastWriteTime));
    attributes->SetFileAttributes(data.dwFileAttributes);
    attributes->SetSize((static_cast<std::int64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow);
    attributes->SetName(LeafName(path));
    return ERROR_SUCCESS;
}

DWORD ApplyTimes(const WideString& path, const IServerAttributes& attributes) {
    if (!attributes.HasTimes()) {
        return ERROR_SUCCESS;
    }
    LocalFile file;
    if (const DWORD error = file.Open(path, GENERIC_WRITE, OPEN_EXISTING); error != ERROR_SUCCESS) {
        return error;
    }
    const FILETIME creation = attributes.GetCreationTime().ToFileTime();
    const FILETIME write = attributes.GetLastWriteTime().ToFileTime();
    return SetFileTime(file.Get(), &creation, &write, &write) != FALSE ? ERROR_SUCCESS : GetLastError();
}

WideString TargetInFolder(const WideString& folder, const WideString& server) {
    const WideString name = LeafName(server);
    if (!IsLocalName(name)) {
        throw Failure(Printable(server) + ": '" + Printable(name) + "' cannot be a local name", ERROR_INVALID_NAME);
    }
    return JoinPath(folder, name);
}

WideString FileTarget(const WideString& server, const WideString& local) {
    LocalItem target;
    const bool into = FindLocalItem(local, target) == ERROR_SUCCESS && target.folder;
    return into ? TargetInFolder(local, server) : local;
}

bool MakeLocalFolders(const WideString& folder) {
    LocalItem item;
    if (FindLocalItem(folder, item) == ERROR_SUCCESS) {
        return item.folder;
    }
    const std::size_t slash = folder.FindLast(QM_W('/'));
    if (slash != WideString::npos && slash > 0 && !MakeLocalFolders(folder.Substring(0, slash))) {
        return false;
    }
    return CreateDirectoryW(folder.c_str(), nullptr) != FALSE || GetLastError() == ERROR_ALREADY_EXISTS;
}

DWORD ReadLocalFile(const WideString& path, std::size_t limit, std::string& content) {
    LocalFile file;
    if (const DWORD error = file.Open(path, GENERIC_READ, OPEN_EXISTING); error != ERROR_SUCCESS) {
        return error;
    }
    content.resize(limit + 1);
    std::size_t got = 0;
    const DWORD error = file.Read(content.data(), content.size(), got);
    content.resize(got);
    if (error != ERROR_SUCCESS) {
        return error;
    }
    return got > limit ? ERROR_FILE_TOO_LARGE : ERROR_SUCCESS;
}

}  // namespace quillmark::cli
