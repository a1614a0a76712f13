// CreateDirectoryW, the current folder, and names for temporary files.
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "files/Descriptor.h"
#include "files/FileInfo.h"
#include "files/Outcome.h"
#include "files/PathName.h"
#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"

namespace quillmark::platform {
namespace {

DWORD MakeFolder(LPCWSTR name) {
    std::string path;
    if (const DWORD code = PathBytes(name, path); code != ERROR_SUCCESS) {
        return code;
    }
    if (::mkdir(path.c_str(), 0777) == 0) {
        return ERROR_SUCCESS;
    }
    const int error = errno;
    if (error == EEXIST) {
        return ERROR_ALREADY_EXISTS;
    }
    return error == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorFromErrno(error);
}

DWORD CurrentFolder(std::u16string& folder) {
    struct Free {
        void operator()(char* text) const { std::free(text); }
    };
    const std::unique_ptr<char, Free> text(::getcwd(nullptr, 0));
    if (text == nullptr) {
        return errno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorFromErrno(errno);
    }
    folder = PathFromBytes(text.get());
    return ERROR_SUCCESS;
}

std::u16string TemporaryFolder() {
    const char* variable = std::getenv("TMPDIR");
    std::u16string folder = PathFromBytes(variable != nullptr && *variable != '\0' ? variable : "/tmp");
    if (folder.back() != u'/') {
        folder.push_back(u'/');
    }
    return folder;
}

// Runs a function that makes a text, and answers as the Get...W functions for texts do.
template <typename Make>
DWORD AnswerText(DWORD capacity, LPWSTR buffer, Make&& make) noexcept {
    DWORD length = 0;
    const DWORD code = CodeOf([&]() -> DWORD {
        std::u16string text;
        const DWORD made = make(text);
        length = made == ERROR_SUCCESS ? CopyText(text, capacity, buffer) : 0;
        return made;
    });
    return Answer(code) ? length : 0;
}

constexpr DWORD NumberCount = 0x10000;

std::u16string NumberedName(const std::u16string& start, DWORD number) {
    constexpr char16_t digits[] = u"0123456789ABCDEF";
    std::u16string hexadecimal;
    for (DWORD rest = number; rest != 0; rest >>= 4) {
        hexadecimal.insert(hexadecimal.begin(), digits[rest & 0xF]);
    }
    return start + hexadecimal + u".tmp";
}

// Creates the first name that is free, from a random number on; the number 0 is never used, for it means failure.
DWORD CreateNumbered(const std::u16string& start, DWORD& number, std::u16string& name) {
    DWORD random = 0;
    (void)::getrandom(&random, sizeof(random), 0);
    for (DWORD attempt = 0; attempt < NumberCount; ++attempt) {
        number = (random + attempt) % NumberCount;
        if (number == 0) {
            continue;
        }
        name = NumberedName(start, number);
        std::string path;
        if (!PathToBytes(name, path)) {
            return ERROR_INVALID_NAME;
        }
        const Descriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
        if (file.IsOpen()) {
            return ERROR_SUCCESS;
        }
        if (errno != EEXIST) {
            return ErrorForPath(errno, path);
        }
    }
    return ERROR_FILE_EXISTS;
}

DWORD TemporaryName(LPCWSTR folder, LPCWSTR prefix, DWORD unique, LPWSTR buffer, DWORD& number) {
    constexpr std::size_t longestFolder = MAX_PATH - 14;
    constexpr std::size_t longestPrefix = 3;
    if (buffer == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    std::string path;
    if (const DWORD code = PathBytes(folder, path); code != ERROR_SUCCESS) {
        return code == ERROR_PATH_NOT_FOUND ? ERROR_DIRECTORY : code;
    }
    std::u16string start(folder);
    if (start.size() > longestFolder) {
        return ERROR_BUFFER_OVERFLOW;
    }
    if (start.back() != u'/') {
        start.push_back(u'/');
    }
    start += std::u16string_view(prefix == nullptr ? u"" : prefix).substr(0, longestPrefix);
    if (start.back() >= 0xD800 && start.back() <= 0xDBFF) {
        start.pop_back();  // the cut went through a pair
    }
    number = unique % NumberCount;
    std::u16string name = NumberedName(start, number);
    if (number == 0) {
        FileInfo info;
        if (ReadInfo(AT_FDCWD, path.c_str(), Links::Follow, info) != 0 || !info.IsFolder()) {
            return ERROR_DIRECTORY;
        }
        if (const DWORD code = CreateNumbered(start, number, name); code != ERROR_SUCCESS) {
            return code;
        }
    }
    std::copy_n(name.c_str(), name.size() + 1, buffer);
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace quillmark::platform

using namespace quillmark::platform;

BOOL WINAPI CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES) {
    return Answer(CodeOf([&] { return MakeFolder(lpPathName); }));
}

DWORD WINAPI GetCurrentDirectoryW(DWORD nBufferLength, LPWSTR lpBuffer) {
    return AnswerText(nBufferLength, lpBuffer, [](std::u16string& text) { return CurrentFolder(text); });
}

DWORD WINAPI GetTempPathW(DWORD nBufferLength, LPWSTR lpBuffer) {
    return AnswerText(nBufferLength, lpBuffer, [](std::u16string& text) {
        text = TemporaryFolder();
        return ERROR_SUCCESS;
    });
}

UINT WINAPI GetTempFileNameW(LPCWSTR lpPathName, LPCWSTR lpPrefixString, UINT uUnique, LPWSTR lpTempFileName) {
    DWORD number = 0;
    const DWORD code =
        CodeOf([&] { return TemporaryName(lpPathName, lpPrefixString, uUnique, lpTempFileName, number); });
    return Answer(code) ? number : 0;
}
