// The order of the virtual functions of the interfaces that a host may implement itself: the transport and the seams.
// A destructor takes two entries of the table, so what stands behind it has its slot number plus one.
#include <gtest/gtest.h>

#include "fakes/SlotIndex.h"
#include "quillmark/Services.h"
#include "quillmark/Transport.h"

namespace quillmark {
namespace {

using fakes::SlotOf;

TEST(TransportSlots, FactoryMakesSessionConnectionRequest) {
    EXPECT_EQ(SlotOf(&IWinHttpFactory::CreateSession), 1u + 1);
    EXPECT_EQ(SlotOf(&IWinHttpFactory::CreateConnection), 2u + 1);
    EXPECT_EQ(SlotOf(&IWinHttpFactory::CreateRequest), 3u + 1);
}

TEST(TransportSlots, SessionInitialisesBeforeItsDestructor) {
    EXPECT_EQ(SlotOf(&IWinHttpSession::Initialise), 0u);
    EXPECT_EQ(SlotOf(&IWinHttpSession::SetTimeouts), 2u + 1);
    EXPECT_EQ(SlotOf(&IWinHttpSession::SetSessionToken), 3u + 1);
    EXPECT_EQ(SlotOf(&IWinHttpSession::GetSessionToken), 4u + 1);
    EXPECT_EQ(SlotOf(&IWinHttpSession::GetHandle), 5u + 1);
}

TEST(TransportSlots, ConnectionHasTwoOperations) {
    EXPECT_EQ(SlotOf(&IWinHttpConnection::Initialise), 1u + 1);
    EXPECT_EQ(SlotOf(&IWinHttpConnection::GetHandle), 2u + 1);
}

TEST(TransportSlots, RequestBuildsAndSendsInSlots1To12) {
    using Request = IWinHttpRequest;
    using SendRange =
        DWORD (Request::*)(const std::string&, const WideString&, const WideString&, std::uint64_t, std::uint64_t,
                           HANDLE, std::uint64_t*, const std::shared_ptr<IProgressSink>&, std::uint64_t);
    using SendWhole = DWORD (Request::*)(const std::string&, const WideString&, const WideString&, HANDLE,
                                         std::uint64_t*, const std::shared_ptr<IProgressSink>&, std::uint64_t);
    using WideField = void (Request::*)(const WideString&, const WideString&);
    using NarrowField = void (Request::*)(const std::string&, const std::string&);
    EXPECT_EQ(SlotOf(&Request::Initialise), 1u + 1);
    EXPECT_EQ(SlotOf(&Request::AddHeader), 2u + 1);
    EXPECT_EQ(SlotOf(&Request::StartRequest), 3u + 1);
    EXPECT_EQ(SlotOf(&Request::AppendFormData), 4u + 1);
    EXPECT_EQ(SlotOf(&Request::SendPostData), 5u + 1);
    EXPECT_EQ(SlotOf(&Request::AddMultipartHeaders), 6u + 1);
    EXPECT_EQ(SlotOf(static_cast<SendRange>(&Request::SendMultipartFile)), 7u + 1);
    EXPECT_EQ(SlotOf(static_cast<SendWhole>(&Request::SendMultipartFile)), 8u + 1);
    EXPECT_EQ(SlotOf(static_cast<WideField>(&Request::AddMultipartFormField)), 9u + 1);
    EXPECT_EQ(SlotOf(static_cast<NarrowField>(&Request::AddMultipartFormField)), 10u + 1);
    EXPECT_EQ(SlotOf(&Request::EndMultipart), 11u + 1);
    EXPECT_EQ(SlotOf(&Request::GetMultipartEndLength), 12u + 1);
}

TEST(TransportSlots, RequestReceivesInSlots13To20) {
    using Request = IWinHttpRequest;
    using ToFile = DWORD (Request::*)(const WideString&, std::uint64_t, HANDLE, const std::shared_ptr<IProgressSink>&,
                                      bool, std::uint64_t);
    using ToMemory = DWORD (Request::*)(ResponseBuffer&);
    EXPECT_EQ(SlotOf(static_cast<ToFile>(&Request::GetResponse)), 13u + 1);
    EXPECT_EQ(SlotOf(static_cast<ToMemory>(&Request::GetResponse)), 14u + 1);
    EXPECT_EQ(SlotOf(&Request::SendRequestGetResponse), 15u + 1);
    EXPECT_EQ(SlotOf(&Request::GetHTTPStatus), 16u + 1);
    EXPECT_EQ(SlotOf(&Request::GetPostDataLength), 17u + 1);
    EXPECT_EQ(SlotOf(&Request::ReceiveResponse), 18u + 1);
    EXPECT_EQ(SlotOf(&Request::ReadResponse), 19u + 1);
    EXPECT_EQ(SlotOf(&Request::Close), 20u + 1);
}

TEST(SeamSlots, WinHttpHasFifteenAndNoDestructor) {
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

TEST(SeamSlots, FileSystemHasTwentySixBehindItsDestructor) {
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileSize), 1u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CreateFileW), 2u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::ReadFile), 3u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetFilePointerEx), 4u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::WriteFile), 5u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetFilePointer), 6u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::DeleteFileW), 7u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CopyFileW), 8u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::MoveFileW), 9u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileTime), 10u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::FindFirstFileW), 11u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::FindNextFileW), 12u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::FindClose), 13u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetCurrentDirectoryW), 14u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CreateDirectoryW), 15u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::RemoveDirectoryW), 16u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetTempPathW), 17u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetTempFileNameW), 18u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileAttributesW), 19u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileAttributesExW), 20u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::GetFileSizeEx), 21u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::QueryDosDeviceW), 22u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SHGetFolderPathW), 23u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetFileAttributesW), 24u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::SetSecurityInfo), 25u + 1);
    EXPECT_EQ(SlotOf(&FileSystemInterface::CloseHandle), 26u + 1);
}

TEST(SeamSlots, RegistryHasTenBehindItsDestructor) {
    EXPECT_EQ(SlotOf(&RegistryInterface::RegEnumValueW), 1u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegSetValueExW), 2u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegQueryValueExW), 3u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegDeleteValueW), 4u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegEnumKeyExW), 5u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegOpenKeyExW), 6u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegCreateKeyExW), 7u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegDeleteKeyExW), 8u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegCloseKey), 9u + 1);
    EXPECT_EQ(SlotOf(&RegistryInterface::RegNotifyChangeKeyValue), 10u + 1);
}

}  // namespace
}  // namespace quillmark
