// A folder of its own for each test of the file functions, and short forms of the calls that most of them make.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "quillmark/platform/Errors.h"
#include "quillmark/platform/Files.h"
#include "quillmark/platform/Handles.h"

namespace quillmark::test {

class FilesTestFolder : public ::testing::Test {
protected:
    FilesTestFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "files_test_XXXXXX").string();
        m_root = ::mkdtemp(pattern.data());
        SetLastError(0);
    }
    ~FilesTestFolder() override { std::filesystem::remove_all(m_root); }

    const std::string& Root() const { return m_root; }
    std::string Bytes(std::string_view name) const { return m_root + "/" + std::string(name); }
    std::u16string Path(std::u16string_view name) const {
        return platform::PathFromBytes(m_root) + u"/" + std::u16string(name);
    }

    std::u16string Make(std::string_view name, std::string_view contents) const {
        std::ofstream(Bytes(name), std::ios::binary) << contents;
        return platform::PathFromBytes(Bytes(name));
    }
    std::string Contents(std::string_view name) const {
        std::ifstream file(Bytes(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    bool Exists(std::string_view name) const {
        return std::filesystem::exists(std::filesystem::symlink_status(Bytes(name)));
    }

private:
    std::string m_root;
};

// A file that is closed at the end of its test.
class OpenFile {
public:
    OpenFile(const std::u16string& path, DWORD access, DWORD disposition = OPEN_EXISTING,
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

}  // namespace quillmark::test
