// FindFirstFileW, FindNextFileW and FindClose.
#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "files/FileInfo.h"
#include "files/Outcome.h"
#include "files/PathName.h"
#include "files/Wildcard.h"
#include "handles/HandleTable.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Handles.h"

namespace quillmark::platform {
namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

// ERROR_FILENAME_EXCED_RANGE when the structure has no room for the name.
DWORD FillData(const std::u16string& name, const FileInfo& info, WIN32_FIND_DATAW& data) {
    if (name.size() >= MAX_PATH) {
        return ERROR_FILENAME_EXCED_RANGE;
    }
    data = {};
    data.dwFileAttributes = info.Attributes();
    data.ftCreationTime = info.creation;
    data.ftLastAccessTime = info.access;
    data.ftLastWriteTime = info.write;
    data.nFileSizeHigh = static_cast<DWORD>(info.size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(info.size);
    data.dwReserved0 = info.isLink ? IO_REPARSE_TAG_SYMLINK : 0;
    std::copy(name.begin(), name.end(), data.cFileName);
    return ERROR_SUCCESS;
}

// An entry as a search shows it: a link by its target when that exists. Returns 0 or an errno value.
int ReadEntry(int folder, const char* name, FileInfo& info) {
    const int error = ReadInfo(folder, name, Links::Keep, info);
    if (error != 0 || !info.isLink) {
        return error;
    }
    FileInfo target;
    if (ReadInfo(folder, name, Links::Follow, target) == 0) {
        info = target;
        info.isLink = true;
    }
    return 0;
}

class SearchObject final : public HandleObject {
public:
    SearchObject(Folder folder, std::u16string pattern) : m_folder(std::move(folder)), m_pattern(std::move(pattern)) {}

    [[nodiscard]] bool ClosesWithCloseHandle() const override { return false; }

    // The next entry that matches; ERROR_NO_MORE_FILES at the end. A search without a folder had one entry only.
    [[nodiscard]] DWORD Next(WIN32_FIND_DATAW& data) {
        const std::lock_guard guard(m_lock);
        while (m_folder != nullptr) {
            errno = 0;
            const dirent* entry = ::readdir(m_folder.get());
            if (entry == nullptr) {
                return errno == 0 ? ERROR_NO_MORE_FILES : ErrorFromErrno(errno);
            }
            const std::u16string name = PathFromBytes(entry->d_name);
            if (!MatchesPattern(m_pattern, name)) {
                continue;
            }
            FileInfo info;
            const int error = ReadEntry(::dirfd(m_folder.get()), entry->d_name, info);
            if (error == ENOENT) {
                continue;  // gone since it was listed
            }
            if (error != 0) {
                // Listed, but not to be looked at: its kind is all there is to tell.
                info.mode = DTTOIF(entry->d_type);
            }
            return FillData(name, info, data);
        }
        return ERROR_NO_MORE_FILES;
    }

private:
    std::mutex m_lock;
    const Folder m_folder;
    const std::u16string m_pattern;
};

DWORD FirstOfPattern(const std::string& folderPath, std::u16string pattern, WIN32_FIND_DATAW& data, HANDLE& handle) {
    Folder folder(::opendir(folderPath.c_str()));
    if (folder == nullptr) {
        const int error = errno;
        return error == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorForPath(error, folderPath);
    }
    auto search = std::make_shared<SearchObject>(std::move(folder), std::move(pattern));
    const DWORD code = search->Next(data);
    if (code != ERROR_SUCCESS) {
        return code == ERROR_NO_MORE_FILES ? ERROR_FILE_NOT_FOUND : code;
    }
    handle = InsertHandle(std::move(search));
    return handle == nullptr ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

DWORD OneEntry(const std::string& path, const std::u16string& name, WIN32_FIND_DATAW& data, HANDLE& handle) {
    FileInfo info;
    if (const int error = ReadEntry(AT_FDCWD, path.c_str(), info); error != 0) {
        return ErrorForPath(error, path);
    }
    if (const DWORD code = FillData(name, info, data); code != ERROR_SUCCESS) {
        return code;
    }
    handle = InsertHandle(std::make_shared<SearchObject>(Folder(), std::u16string()));
    return handle == nullptr ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

DWORD FindFirst(LPCWSTR fileName, LPWIN32_FIND_DATAW data, HANDLE& handle) {
    std::string path;
    if (const DWORD code = PathBytes(fileName, path); code != ERROR_SUCCESS) {
        return code;
    }
    if (data == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    const std::u16string_view whole(fileName);
    const std::size_t separator = whole.find_last_of(u'/');
    const std::size_t start = separator == std::u16string_view::npos ? 0 : separator + 1;
    std::u16string name(whole.substr(start));
    if (name.empty()) {
        return ERROR_FILE_NOT_FOUND;
    }
    if (!IsPattern(name)) {
        return OneEntry(path, name, *data, handle);
    }
    const std::size_t bytesBeforeName = path.find_last_of('/');
    const std::string folder = bytesBeforeName == std::string::npos ? "." : path.substr(0, bytesBeforeName + 1);
    return FirstOfPattern(folder, std::move(name), *data, handle);
}

DWORD FindNext(HANDLE handle, LPWIN32_FIND_DATAW data) {
    const auto search = FindHandle<SearchObject>(handle);
    if (search == nullptr) {
        return ERROR_INVALID_HANDLE;
    }
    return data == nullptr ? ERROR_INVALID_PARAMETER : search->Next(*data);
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

HANDLE WINAPI FindFirstFileW(LPCWSTR lpFileName, LPWIN32_FIND_DATAW lpFindFileData) {
    HANDLE handle = nullptr;
    const BOOL found = Answer(CodeOf([&] { return FindFirst(lpFileName, lpFindFileData, handle); }));
    return found ? handle : INVALID_HANDLE_VALUE;
}

BOOL WINAPI FindNextFileW(HANDLE hFindFile, LPWIN32_FIND_DATAW lpFindFileData) {
    return Answer(CodeOf([&] { return FindNext(hFindFile, lpFindFileData); }));
}

BOOL WINAPI FindClose(HANDLE hFindFile) {
    const bool closed = FindHandle<SearchObject>(hFindFile) != nullptr && RemoveHandle(hFindFile) != nullptr;
    return Answer(closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
}
