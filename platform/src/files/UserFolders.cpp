// SHGetFolderPathW, and what it shares with the registry.
#include "files/UserFolders.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <vector>

#include "files/FileInfo.h"
#include "files/Outcome.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

bool IsAbsolute(const char* path) {
    return path != nullptr && *path == '/';
}

bool IsFolder(const std::string& path) {
    FileInfo info;
    return ReadInfo(AT_FDCWD, path.c_str(), Links::Follow, info) == 0 && info.IsFolder();
}

// Empty for a number that is none of ours.
std::string FolderOf(int csidl) {
    switch (csidl & 0xFF) {
        case CSIDL_PROFILE:
            return HomeFolder();
        case CSIDL_APPDATA:
            return UserFolder("XDG_CONFIG_HOME", ".config");
        case CSIDL_LOCAL_APPDATA:
            return UserFolder("XDG_DATA_HOME", ".local/share");
        case CSIDL_PERSONAL:
            return UserFolder("XDG_DOCUMENTS_DIR", "Documents");
        default:
            return {};
    }
}

HRESULT FolderPath(int csidl, HANDLE token, DWORD flags, LPWSTR path) {
    constexpr int known = 0xFF | CSIDL_FLAG_CREATE | CSIDL_FLAG_DONT_VERIFY;
    const std::string folder = FolderOf(csidl);
    if (folder.empty() || (csidl & ~known) != 0 || token != nullptr || flags > SHGFP_TYPE_DEFAULT) {
        return E_INVALIDARG;
    }
    if ((csidl & CSIDL_FLAG_CREATE) != 0) {
        if (const int error = MakeFolders(folder); error != 0) {
            return static_cast<HRESULT>(0x80070000u | ErrorForPath(error, folder));
        }
    } else if ((csidl & CSIDL_FLAG_DONT_VERIFY) == 0 && !IsFolder(folder)) {
        return S_FALSE;
    }
    const std::u16string text = PathFromBytes(folder);
    if (text.size() >= MAX_PATH) {
        return E_FAIL;
    }
    std::copy_n(text.c_str(), text.size() + 1, path);
    return S_OK;
}

}  // namespace

std::string HomeFolder() {
    if (const char* home = std::getenv("HOME"); home != nullptr && IsAbsolute(home)) {
        return home;
    }
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        IsAbsolute(found->pw_dir)) {
        return found->pw_dir;
    }
    return "/";
}

std::string UserFolder(const char* variable, const char* belowHome) {
    if (const char* folder = std::getenv(variable); IsAbsolute(folder)) {
        return folder;
    }
    const std::string home = HomeFolder();
    return home + (home.back() == '/' ? "" : "/") + belowHome;
}

int MakeFolders(const std::string& path) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1)) {
        if (::mkdir(path.substr(0, end).c_str(), 0700) != 0 && errno != EEXIST && errno != EACCES && errno != EROFS) {
            return errno;
        }
    }
    if (::mkdir(path.c_str(), 0700) == 0 || IsFolder(path)) {
        return 0;
    }
    return errno == EEXIST ? ENOTDIR : errno;
}

std::string NearestFolder(const std::string& path) {
    std::string folder = path;
    while (!IsFolder(folder)) {
        const std::size_t separator = folder.find_last_of('/');
        if (separator == std::string::npos) {
            return ".";
        }
        if (separator == 0) {
            return "/";
        }
        folder.erase(separator);
    }
    return folder;
}

}  // namespace quillmark::platform

HRESULT WINAPI SHGetFolderPathW(HWND, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath) {
    using namespace quillmark::platform;
    if (pszPath == nullptr) {
        return E_INVALIDARG;
    }
    *pszPath = u'\0';
    try {
        return FolderPath(csidl, hToken, dwFlags, pszPath);
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}
