// A folder of its own for each test of the file functions, and short forms of the calls that most of them make.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "support/TempFolder.h"
#include "support/Wine.h"
#include "unit/platform/SystemFiles.h"
#include "unit/platform/WideText.h"

namespace quillmark::test {

class FilesTestFolder : public ::testing::Test {
protected:
    FilesTestFolder() { SetLastError(0); }
    ~FilesTestFolder() override { MakeRemovable(m_folder.Path()); }

    const std::filesystem::path& Root() const { return m_folder.Path(); }
    // The entry of this name, in UTF-8: for the standard library's file functions.
    std::filesystem::path File(std::string_view name) const { return Root() / std::u8string(name.begin(), name.end()); }
    // The same for the functions under test.
    WideText Path(std::string_view name) const { return File(name).string<WCHAR>(); }
    // For names that are no UTF-8.
    WideText Path(WideView name) const {
        return Root().string<WCHAR>() + static_cast<WCHAR>(std::filesystem::path::preferred_separator) + WideText(name);
    }

    WideText Make(std::string_view name, std::string_view contents) const {
        std::ofstream(File(name), std::ios::binary) << contents;
        return Path(name);
    }
    void MakeFolder(std::string_view name) const { std::filesystem::create_directory(File(name)); }
    std::string Contents(std::string_view name) const {
        std::ifstream file(File(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(std::string_view name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(File(name)));
    }

private:
    TempFolder m_folder{"files"};
};

// A file that is closed at the end of its test.
class OpenFile {
public:
    OpenFile(const WideText& path, DWORD access, DWORD disposition = OPEN_EXISTING,
             DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, DWORD flags = FILE_ATTRIBUTE_NORMAL)
        : m_handle(CreateFileW(path.c_str(), access, share, nullptr, disposition, flags, nullptr)),
          m_error(GetLastError()) {}
    ~OpenFile() {
        if (IsOpen()) {
            CloseHandle(m_handle);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    operator HANDLE() const { return m_handle; }
    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    DWORD Error() const { return m_error; }
    void Close() {
        CloseHandle(m_handle);
        m_handle = INVALID_HANDLE_VALUE;
    }

private:
    HANDLE m_handle;
    DWORD m_error;
};

inline std::string ReadText(HANDLE file, DWORD size) {
    std::string text(size, '\0');
    DWORD got = 0;
    EXPECT_TRUE(ReadFile(file, text.data(), size, &got, nullptr));
    text.resize(got);
    return text;
}

inline DWORD WriteText(HANDLE file, std::string_view text) {
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    return written;
}

inline long long Seek(HANDLE file, long long distance, DWORD method) {
    LARGE_INTEGER by{};
    LARGE_INTEGER position{};
    by.QuadPart = distance;
    EXPECT_TRUE(SetFilePointerEx(file, by, &position, method));
    return position.QuadPart;
}

inline std::uint64_t Ticks(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

}  // namespace quillmark::test
