#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "unit/platform/FilesTestFolder.h"

namespace {

using quillmark::test::FilesTestFolder;
using quillmark::test::OpenFile;
using quillmark::test::OrUnderWine;
using quillmark::test::ReadText;
using quillmark::test::Seek;
using quillmark::test::WriteText;

constexpr long long FourGiB = 1LL << 32;

class ReadWriteTest : public FilesTestFolder {};

TEST_F(ReadWriteTest, ReadsFromThePositionOnAndGivesZeroBytesAtTheEnd) {
    const OpenFile file(Make("a", "abcdef"), GENERIC_READ);
    EXPECT_EQ(ReadText(file, 4), "abcd");
    EXPECT_EQ(ReadText(file, 4), "ef");
    char byte = 'x';
    DWORD got = 7;
    EXPECT_TRUE(ReadFile(file, &byte, 1, &got, nullptr));
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(byte, 'x');
}

TEST_F(ReadWriteTest, TransfersOfZeroBytesSucceedWithoutABuffer) {
    const OpenFile file(Make("a", "abc"), GENERIC_READ | GENERIC_WRITE);
    DWORD done = 7;
    EXPECT_TRUE(ReadFile(file, nullptr, 0, &done, nullptr));
    EXPECT_EQ(done, 0u);
    done = 7;
    EXPECT_TRUE(WriteFile(file, nullptr, 0, &done, nullptr));
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(Contents("a"), "abc");
}

TEST_F(ReadWriteTest, RefusesToReadOrWriteWithoutABuffer) {
    const OpenFile file(Make("a", "abc"), GENERIC_READ | GENERIC_WRITE);
    DWORD done = 7;
    EXPECT_FALSE(ReadFile(file, nullptr, 1, &done, nullptr));
    EXPECT_EQ(GetLastError(), 998u);
    EXPECT_EQ(done, 0u);
    EXPECT_FALSE(WriteFile(file, nullptr, 1, &done, nullptr));
    EXPECT_EQ(GetLastError(), 1784u);
}

TEST_F(ReadWriteTest, RefusesWhatTheHandleWasNotOpenedFor) {
    const WideText path = Make("a", "abc");
    char byte = 0;
    DWORD done = 0;
    const OpenFile reader(path, GENERIC_READ);
    EXPECT_FALSE(WriteFile(reader, &byte, 1, &done, nullptr));
    EXPECT_EQ(GetLastError(), 5u);
    EXPECT_FALSE(SetEndOfFile(reader));
    // Wine lets the kernel judge, which says another thing.
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(5, 87));
    EXPECT_FALSE(FlushFileBuffers(reader));
    EXPECT_EQ(GetLastError(), 5u);
    const OpenFile writer(path, GENERIC_WRITE);
    EXPECT_FALSE(ReadFile(writer, &byte, 1, &done, nullptr));
    EXPECT_EQ(GetLastError(), 5u);
}

TEST_F(ReadWriteTest, EveryCallRefusesAHandleThatIsNoFileWith6) {
    const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    OpenFile closed(Make("a", "abc"), GENERIC_READ);
    const HANDLE stale = closed;
    closed.Close();
    for (const HANDLE handle : {event, stale, HANDLE{nullptr}, INVALID_HANDLE_VALUE}) {
        char byte = 0;
        DWORD done = 0;
        LARGE_INTEGER number{};
        FILETIME time{};
        const auto expect6 = [](bool failed) {
            EXPECT_TRUE(failed);
            EXPECT_EQ(GetLastError(), 6u);
            SetLastError(0);
        };
        expect6(!ReadFile(handle, &byte, 1, &done, nullptr));
        expect6(!WriteFile(handle, &byte, 1, &done, nullptr));
        expect6(!SetFilePointerEx(handle, number, nullptr, FILE_BEGIN));
        expect6(SetFilePointer(handle, 0, nullptr, FILE_BEGIN) == 0xFFFFFFFFu);
        expect6(!SetEndOfFile(handle));
        expect6(!FlushFileBuffers(handle));
        expect6(GetFileSize(handle, nullptr) == 0xFFFFFFFFu);
        expect6(!GetFileSizeEx(handle, &number));
        expect6(!GetFileTime(handle, &time, nullptr, nullptr));
        expect6(!SetFileTime(handle, nullptr, nullptr, nullptr));
    }
    CloseHandle(event);
}

TEST_F(ReadWriteTest, WritesAtThePositionAndFillsTheGapWithZeros) {
    const OpenFile file(Path("a"), GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
    EXPECT_EQ(WriteText(file, "abc"), 3u);
    EXPECT_EQ(Seek(file, 1, FILE_BEGIN), 1);
    EXPECT_EQ(WriteText(file, "X"), 1u);
    EXPECT_EQ(Seek(file, 2, FILE_END), 5);
    EXPECT_EQ(WriteText(file, "end"), 3u);
    EXPECT_EQ(Contents("a"), std::string("aXc\0\0end", 8));
}

TEST_F(ReadWriteTest, AppendAccessAloneWritesAtTheEndWhereverThePositionIs) {
    const OpenFile file(Make("a", "abc"), FILE_APPEND_DATA);
    ASSERT_TRUE(file.IsOpen());
    EXPECT_EQ(WriteText(file, "d"), 1u);
    EXPECT_EQ(Seek(file, 0, FILE_BEGIN), 0);
    EXPECT_EQ(WriteText(file, "e"), 1u);
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 5);
    EXPECT_EQ(Contents("a"), "abcde");
}

TEST_F(ReadWriteTest, AnOverlappedStructureGivesTheOffsetAndThePositionFollows) {
    const OpenFile file(Make("a", "abcdef"), GENERIC_READ | GENERIC_WRITE);
    OVERLAPPED at{};
    at.Offset = 2;
    char text[3] = {};
    DWORD done = 0;
    EXPECT_TRUE(ReadFile(file, text, 2, &done, &at));
    EXPECT_STREQ(text, "cd");
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 4);
    at.Offset = 1;
    EXPECT_TRUE(WriteFile(file, "X", 1, nullptr, &at));
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 2);
    at.Offset = at.OffsetHigh = 0xFFFFFFFFu;
    EXPECT_TRUE(WriteFile(file, "Z", 1, &done, &at));
    EXPECT_EQ(Contents("a"), "aXcdefZ");
}

TEST_F(ReadWriteTest, AnOverlappedReadAtTheEndFailsWith38) {
    const OpenFile file(Make("a", "abc"), GENERIC_READ);
    OVERLAPPED at{};
    at.Offset = 3;
    char byte = 0;
    DWORD done = 7;
    EXPECT_FALSE(ReadFile(file, &byte, 1, &done, &at));
    EXPECT_EQ(GetLastError(), 38u);
    EXPECT_EQ(done, 0u);
    at.OffsetHigh = 0x80000000u;
    EXPECT_FALSE(ReadFile(file, &byte, 1, &done, &at));
    EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(ReadWriteTest, ReadingFarPastTheEndGivesZeroBytes) {
    const OpenFile file(Make("a", "abc"), GENERIC_READ);
    EXPECT_EQ(Seek(file, 256 * FourGiB, FILE_BEGIN), 256 * FourGiB);
    EXPECT_EQ(ReadText(file, 16), "");
}

TEST_F(ReadWriteTest, SeeksFromEachPlaceAndNeverBeforeTheStart) {
    const OpenFile file(Make("a", "abcdef"), GENERIC_READ);
    EXPECT_EQ(Seek(file, 4, FILE_BEGIN), 4);
    EXPECT_EQ(Seek(file, -1, FILE_CURRENT), 3);
    EXPECT_EQ(Seek(file, -2, FILE_END), 4);
    LARGE_INTEGER by{};
    by.QuadPart = -5;
    EXPECT_FALSE(SetFilePointerEx(file, by, nullptr, FILE_CURRENT));
    EXPECT_EQ(GetLastError(), 131u);
    EXPECT_FALSE(SetFilePointerEx(file, by, nullptr, FILE_BEGIN));
    EXPECT_EQ(GetLastError(), 131u);
    EXPECT_FALSE(SetFilePointerEx(file, by, nullptr, 3));
    EXPECT_EQ(GetLastError(), 87u);
    by.QuadPart = INT64_MAX;
    EXPECT_FALSE(SetFilePointerEx(file, by, nullptr, FILE_CURRENT));
    EXPECT_EQ(GetLastError(), 131u);
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 4);
}

TEST_F(ReadWriteTest, SetFilePointerTakesAndGivesHalves) {
    const OpenFile file(Make("a", "abcdef"), GENERIC_READ);
    LONG high = 1;
    EXPECT_EQ(SetFilePointer(file, 5, &high, FILE_BEGIN), 5u);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), FourGiB + 5);
    high = -1;
    EXPECT_EQ(SetFilePointer(file, -5, &high, FILE_CURRENT), 0u);
    EXPECT_EQ(high, 1);
    EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_END), 0xFFFFFFFFu - 0xFFFFFFFAu);
}

TEST_F(ReadWriteTest, SetFilePointerTellsAPositionOfAllOnesFromAFailure) {
    const OpenFile file(Make("a", ""), GENERIC_READ);
    LONG high = 0;
    SetLastError(87);
    EXPECT_EQ(SetFilePointer(file, -1, &high, FILE_BEGIN), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 0u);
    EXPECT_EQ(high, 0);
    EXPECT_EQ(Seek(file, 0, FILE_CURRENT), 0xFFFFFFFFLL);
    // One more would need the high half; Wine goes there all the same.
    SetLastError(1234);
    EXPECT_THAT(SetFilePointer(file, 1, nullptr, FILE_CURRENT), OrUnderWine<DWORD>(0xFFFFFFFF, 0));
    EXPECT_THAT(GetLastError(), OrUnderWine<DWORD>(87, 1234));
    EXPECT_THAT(Seek(file, 0, FILE_CURRENT), OrUnderWine<long long>(0xFFFFFFFF, FourGiB));
    EXPECT_EQ(SetFilePointer(file, -1, nullptr, FILE_BEGIN), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 131u);
}

TEST_F(ReadWriteTest, SetEndOfFileCutsAndExtends) {
    const OpenFile file(Make("a", "abcdef"), GENERIC_READ | GENERIC_WRITE);
    Seek(file, 2, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_EQ(Contents("a"), "ab");
    Seek(file, 4, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(file));
    EXPECT_EQ(Contents("a"), std::string("ab\0\0", 4));
    EXPECT_TRUE(FlushFileBuffers(file));
}

TEST_F(ReadWriteTest, SizesAndOffsetsHave64Bits) {
    const OpenFile file(Path("a"), GENERIC_READ | GENERIC_WRITE, CREATE_NEW);
    for (const long long at : {(1LL << 31) - 1, 1LL << 31, FourGiB - 1, FourGiB, 5 * FourGiB / 4}) {
        EXPECT_EQ(Seek(file, at, FILE_BEGIN), at);
        EXPECT_EQ(WriteText(file, "xyz"), 3u);
        EXPECT_EQ(Seek(file, at + 1, FILE_BEGIN), at + 1);
        EXPECT_EQ(ReadText(file, 2), "yz");
        LARGE_INTEGER size{};
        EXPECT_TRUE(GetFileSizeEx(file, &size));
        EXPECT_EQ(size.QuadPart, at + 3);
    }
    DWORD high = 0;
    EXPECT_EQ(GetFileSize(file, &high), 0x40000003u);
    EXPECT_EQ(high, 1u);
    EXPECT_EQ(GetFileSize(file, nullptr), 0x40000003u);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    EXPECT_TRUE(GetFileAttributesExW(Path("a").c_str(), GetFileExInfoStandard, &data));
    EXPECT_EQ(data.nFileSizeHigh, 1u);
    EXPECT_EQ(data.nFileSizeLow, 0x40000003u);
}

TEST_F(ReadWriteTest, GetFileSizeTellsASizeOfAllOnesFromAFailure) {
    const OpenFile file(Path("a"), GENERIC_WRITE, CREATE_NEW);
    Seek(file, 0xFFFFFFFFLL, FILE_BEGIN);
    ASSERT_TRUE(SetEndOfFile(file));
    SetLastError(87);
    EXPECT_EQ(GetFileSize(file, nullptr), 0xFFFFFFFFu);
    EXPECT_EQ(GetLastError(), 0u);
}

TEST_F(ReadWriteTest, ThreadsThatShareAHandleEachGetTheirOwnBytes) {
    constexpr DWORD record = 100;
    constexpr int records = 2000;
    std::string contents;
    for (int i = 0; i < records; ++i) {
        contents.append(record, static_cast<char>('a' + i % 26));
    }
    const OpenFile file(Make("a", contents), GENERIC_READ);
    std::vector<std::thread> readers;
    std::vector<std::vector<std::string>> got(4);
    for (std::vector<std::string>& mine : got) {
        readers.emplace_back([&mine, &file] {
            for (std::string text = ReadText(file, record); !text.empty(); text = ReadText(file, record)) {
                mine.push_back(text);
            }
        });
    }
    std::size_t total = 0;
    for (std::size_t i = 0; i < readers.size(); ++i) {
        readers[i].join();
        for (const std::string& text : got[i]) {
            EXPECT_EQ(text, std::string(record, text.front()));
        }
        total += got[i].size();
    }
    EXPECT_EQ(total, static_cast<std::size_t>(records));
}

TEST_F(ReadWriteTest, ClosingWhileOthersReadEndsTheirCallsCleanly) {
    Make("a", std::string(100000, 'a'));
    for (int round = 0; round < 50; ++round) {
        const HANDLE file = CreateFileW(Path("a").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(file, INVALID_HANDLE_VALUE);
        std::thread reader([file] {
            char byte = 0;
            DWORD got = 1;
            while (ReadFile(file, &byte, 1, &got, nullptr) && got == 1) {
                EXPECT_EQ(byte, 'a');
            }
            EXPECT_TRUE(got == 0);
        });
        EXPECT_TRUE(CloseHandle(file));
        reader.join();
    }
}

}  // namespace
