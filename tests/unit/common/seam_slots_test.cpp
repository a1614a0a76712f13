// The order of the seams' functions, which is part of the calling interface.
#include <gtest/gtest.h>

#include <type_traits>

#include "fakes/SlotIndex.h"
#include "quillmark/Services.h"

namespace quillmark {
namespace {

using fakes::SlotOf;

TEST(WinHttpInterfaceSlotsTest, KeepsTheOrderOfItsFunctions) {
    // No destructor slot: slot n is entry n.
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpAddRequestHeaders), 0u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpSendRequest), 1u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpReadData), 2u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpQueryDataAvailable), 3u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpQueryHeaders), 4u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpReceiveResponse), 5u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpWriteData), 6u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpSetCredentials), 7u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpSetTimeouts), 8u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpOpen), 9u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpConnect), 10u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpOpenRequest), 11u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpCloseHandle), 12u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpQueryOption), 13u);
    EXPECT_EQ(SlotOf(&WinHttpInterface::WinHttpSetOption), 14u);
}

TEST(FileSystemInterfaceSlotsTest, KeepsTheOrderOfItsFunctions) {
    // Slot 0 is the destructor, which takes two entries of the table: slot n is entry n + 1.
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileSize), 2u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CreateFileW), 3u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::ReadFile), 4u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetFilePointerEx), 5u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::WriteFile), 6u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetFilePointer), 7u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::DeleteFileW), 8u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CopyFileW), 9u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::MoveFileW), 10u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileTime), 11u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::FindFirstFileW), 12u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::FindNextFileW), 13u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::FindClose), 14u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetCurrentDirectoryW), 15u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CreateDirectoryW), 16u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::RemoveDirectoryW), 17u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetTempPathW), 18u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetTempFileNameW), 19u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileAttributesW), 20u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileAttributesExW), 21u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileSizeEx), 22u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::QueryDosDeviceW), 23u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SHGetFolderPathW), 24u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetFileAttributesW), 25u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetSecurityInfo), 26u);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CloseHandle), 27u);
}

TEST(RegistryInterfaceSlotsTest, KeepsTheOrderOfItsFunctions) {
    // Slot 0 is the destructor, which takes two entries of the table: slot n is entry n + 1.
    EXPECT_EQ(SlotOf(&RegistryInterface::RegEnumValueW), 2u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegSetValueExW), 3u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegQueryValueExW), 4u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegDeleteValueW), 5u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegEnumKeyExW), 6u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegOpenKeyExW), 7u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegCreateKeyExW), 8u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegDeleteKeyExW), 9u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegCloseKey), 10u);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegNotifyChangeKeyValue), 11u);
}

TEST(WinHttpInterfaceSlotsTest, HasNoVirtualDestructor) {
    static_assert(std::has_virtual_destructor_v<FileSystemInterface>);
    static_assert(std::has_virtual_destructor_v<RegistryInterface>);
    static_assert(!std::has_virtual_destructor_v<WinHttpInterface>);
}

}  // namespace
}  // namespace quillmark
