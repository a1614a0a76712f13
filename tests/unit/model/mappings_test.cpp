#include "model/Mappings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fakes/RecordingEventing.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

using fakes::RecordedLog;
using Lines = std::vector<std::string>;

Lines Names(std::string_view text) {
    MappingList mappings;
    DWORD count = 99;
    EXPECT_EQ(ReadMappings(ReplyOf(text), mappings, count), 0u) << text;
    EXPECT_EQ(count, mappings.size());
    Lines names;
    for (const auto& mapping : mappings) {
        names.push_back(NarrowUtf8(mapping->attributes->name));
    }
    return names;
}

// The one folder of a reply whose members beside the name are these: R"("type":"smb")".
std::shared_ptr<const CMapping> Folder(const std::string& members) {
    MappingList mappings;
    DWORD count = 0;
    EXPECT_EQ(ReadMappings(ReplyOf(R"({"name":"Home",)" + members + "}"), mappings, count), 0u) << members;
    EXPECT_EQ(count, 1u);
    return mappings.front();
}

TEST(Mappings, EveryMemberIsRead) {
    const auto folder = Folder(
        R"("description":"Ann's","permissions":"WRITE","folder_permissions":"WRITE","status":"ONLINE",
           "mode":"AUTOMATIC","type":"smb","allow_sharing":true,
           "storage_id":"{0F8FAD5B-D9CB-469F-A165-70867728950E}","guid":"7c9e6679-7425-40de-944b-e07fc1f90ae7",
           "capabilities":{"delta_upload":true,"locking":true,"resumable_uploads":true,
                           "file_size_upload_limit":5368709120})");
    EXPECT_EQ(folder->path, QM_W("/Home"));
    const MappingAttributes& attributes = *folder->attributes;
    EXPECT_EQ(attributes.name, QM_W("Home"));
    EXPECT_EQ(attributes.description, QM_W("Ann's"));
    EXPECT_EQ(attributes.permissions, QM_W("WRITE"));
    EXPECT_EQ(attributes.type, QM_W("smb"));
    EXPECT_EQ(attributes.status, 2u);
    EXPECT_EQ(attributes.mode, 2u);
    EXPECT_TRUE(attributes.allowSharing);
    EXPECT_TRUE(attributes.hasIdentifiers);
    EXPECT_EQ(attributes.storageId,
              (GUID{0x0F8FAD5B, 0xD9CB, 0x469F, {0xA1, 0x65, 0x70, 0x86, 0x77, 0x28, 0x95, 0x0E}}));
    EXPECT_EQ(attributes.guid, (GUID{0x7C9E6679, 0x7425, 0x40DE, {0x94, 0x4B, 0xE0, 0x7F, 0xC1, 0xF9, 0x0A, 0xE7}}));
    EXPECT_TRUE(folder->capabilities->deltaUpload);
    EXPECT_TRUE(folder->capabilities->locking);
    EXPECT_TRUE(folder->capabilities->resumableUploads);
    EXPECT_EQ(folder->capabilities->fileSizeUploadLimit, 5368709120u);
}

TEST(Mappings, AFolderMayHaveANameAlone) {
    MappingList mappings;
    DWORD count = 0;
    EXPECT_EQ(ReadMappings(ReplyOf("[{\"name\":\"B\xC3\xBCro\"}]"), mappings, count), 0u);
    ASSERT_EQ(count, 1u);
    const CMapping& folder = *mappings.front();
    EXPECT_EQ(folder.path, QM_W("/B\u00FCro"));
    EXPECT_EQ(folder.attributes->description, QM_W(""));
    EXPECT_EQ(folder.attributes->permissions, QM_W(""));
    EXPECT_EQ(folder.attributes->status, 2u);
    EXPECT_EQ(folder.attributes->mode, 1u);
    EXPECT_FALSE(folder.attributes->allowSharing);
    EXPECT_FALSE(folder.attributes->hasIdentifiers);
    EXPECT_FALSE(folder.capabilities->deltaUpload);
    EXPECT_FALSE(folder.capabilities->locking);
    EXPECT_FALSE(folder.capabilities->resumableUploads);
    EXPECT_EQ(folder.capabilities->fileSizeUploadLimit, 0u);
}

TEST(Mappings, AreFoundInArraysDictionariesAndContentsInTheirOrder) {
    EXPECT_EQ(Names(R"([{"name":"b"},{"name":"a"}])"), (Lines{"b", "a"}));
    EXPECT_EQ(Names(R"({"name":"a"})"), (Lines{"a"}));
    EXPECT_EQ(Names(R"({"name":"x","contents":[{"name":"b"},{"name":"a"}]})"), (Lines{"b", "a"}));
    EXPECT_EQ(Names(R"({"contents":{"name":"a"}})"), (Lines{"a"}));
    EXPECT_EQ(Names(R"([{"contents":[{"name":"b"}]},{"name":"a"}])"), (Lines{"b", "a"}));
    EXPECT_EQ(Names("[]"), Lines{});
    EXPECT_EQ(Names(R"({"contents":[]})"), Lines{});
    EXPECT_EQ(Names(R"({"contents":null})"), Lines{});
}

TEST(Mappings, AreAppendedAndOnlyTheNewOnesCounted) {
    MappingList mappings;
    DWORD count = 0;
    EXPECT_EQ(ReadMappings(ReplyOf(R"([{"name":"a"},{"name":"b"}])"), mappings, count), 0u);
    EXPECT_EQ(ReadMappings(ReplyOf(R"({"name":"c"})"), mappings, count), 0u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(mappings.size(), 3u);
}

TEST(Mappings, SomeStatusesAreNotReachableInAnyCase) {
    for (const char* word : {"OFFLINE", "TIMEOUT", "INACCESSIBLE", "BAD_CREDENTIALS", "offline", "Timeout",
                             "inAccessible", "bad_credentials"}) {
        EXPECT_EQ(Folder(R"("status":")" + std::string(word) + "\"")->attributes->status, 1u) << word;
    }
    for (const char* word : {"ONLINE", "", "OFFLINE ", "TIME_OUT"}) {
        EXPECT_EQ(Folder(R"("status":")" + std::string(word) + "\"")->attributes->status, 2u) << word;
    }
}

TEST(Mappings, ModesIgnoreCase) {
    for (const char* word : {"AUTOMATIC", "automatic", "Automatic"}) {
        EXPECT_EQ(Folder(R"("mode":")" + std::string(word) + "\"")->attributes->mode, 2u) << word;
    }
    for (const char* word : {"OFFLINE", "offline"}) {
        EXPECT_EQ(Folder(R"("mode":")" + std::string(word) + "\"")->attributes->mode, 3u) << word;
    }
    for (const char* word : {"MANUAL", "", "AUTO"}) {
        EXPECT_EQ(Folder(R"("mode":")" + std::string(word) + "\"")->attributes->mode, 1u) << word;
    }
}

TEST(Mappings, AReadOnlyFolderPermissionMakesTheRootReadOnly) {
    EXPECT_EQ(Folder(R"("permissions":"WRITE","folder_permissions":"READONLY")")->attributes->permissions,
              QM_W("ROOT_READONLY"));
    EXPECT_EQ(Folder(R"("permissions":"WRITE","folder_permissions":"WRITE")")->attributes->permissions, QM_W("WRITE"));
    EXPECT_EQ(Folder(R"("permissions":"WRITE","folder_permissions":"readonly")")->attributes->permissions,
              QM_W("WRITE"));
    EXPECT_EQ(Folder(R"("folder_permissions":"READONLY")")->attributes->permissions, QM_W("ROOT_READONLY"));
}

TEST(Mappings, IdentifiersAreTakenBothOrNeither) {
    const std::string storage = R"("storage_id":"{0F8FAD5B-D9CB-469F-A165-70867728950E}")";
    const std::string guid = R"("guid":"{7C9E6679-7425-40DE-944B-E07FC1F90AE7}")";
    for (const std::string& members : {guid, storage, storage + R"(,"guid":"none")", R"("storage_id":7,)" + guid}) {
        const auto folder = Folder(members);
        EXPECT_FALSE(folder->attributes->hasIdentifiers) << members;
        EXPECT_EQ(folder->attributes->storageId, GUID{}) << members;
        EXPECT_EQ(folder->attributes->guid, GUID{}) << members;
    }
    EXPECT_TRUE(Folder(storage + "," + guid)->attributes->hasIdentifiers);
}

TEST(Mappings, WithoutCapabilitiesThoseOfTheStorageHold) {
    for (const char* members : {R"("type":"smb")", R"("type":"SMB")", R"("type":"smb","capabilities":null)"}) {
        const MappingCapabilities smb = *Folder(members)->capabilities;
        EXPECT_TRUE(smb.deltaUpload && smb.locking && smb.resumableUploads) << members;
        EXPECT_EQ(smb.fileSizeUploadLimit, 0u) << members;
    }
    for (const char* members : {R"("type":"webdav")", R"("type":"WebDAV")", R"("type":"s3")", R"("type":"")"}) {
        const MappingCapabilities other = *Folder(members)->capabilities;
        EXPECT_FALSE(other.deltaUpload || other.locking || other.resumableUploads) << members;
        EXPECT_EQ(other.fileSizeUploadLimit, 0u) << members;
    }
}

TEST(Mappings, GivenCapabilitiesAreTheOnlyOnes) {
    const MappingCapabilities none = *Folder(R"("type":"smb","capabilities":{})")->capabilities;
    EXPECT_FALSE(none.deltaUpload || none.locking || none.resumableUploads);
    const MappingCapabilities one = *Folder(R"("type":"smb","capabilities":{"locking":true,"delta_upload":"true",
                                               "resumable_uploads":1})")
                                         ->capabilities;
    EXPECT_TRUE(one.locking);
    EXPECT_FALSE(one.deltaUpload || one.resumableUploads);
}

TEST(Mappings, TheUploadLimitIsANumberOfBytes) {
    const auto limit = [](const std::string& value) {
        return Folder(R"("capabilities":{"file_size_upload_limit":)" + value + "}")->capabilities->fileSizeUploadLimit;
    };
    EXPECT_EQ(limit("0"), 0u);
    EXPECT_EQ(limit("1048576"), 1048576u);
    EXPECT_EQ(limit("9007199254740993"), 9007199254740993u);  // more than a double holds exactly
    EXPECT_EQ(limit("18446744073709551615"), 18446744073709551615u);
    EXPECT_EQ(limit("1.9"), 1u);
    EXPECT_EQ(limit("1e300"), 18446744073709551615u);
    EXPECT_EQ(limit("-5"), 0u);
    EXPECT_EQ(limit("\"1024\""), 0u);
    EXPECT_EQ(limit("true"), 0u);
}

TEST(Mappings, AFolderWithoutANameIsLoggedAndLeftOut) {
    const RecordedLog log;
    EXPECT_EQ(Names(R"([{"name":"a"},{"description":"none"},{"name":""},null,{"name":"b"}])"), (Lines{"a", "b"}));
    EXPECT_EQ(log.Count(103, "Failed to create mapping for [] - error [13]"), 3u);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::ProcessMappingJSONDictionary",
                        "Failed to create mapping for [] - error [13]"));
}

TEST(Mappings, ThePathIsGivenToTheNormaliserWhichLeavesItAsItIs) {
    const RecordedLog log;
    EXPECT_EQ(Folder(R"("type":"smb")")->path, QM_W("/Home"));
    EXPECT_TRUE(log.Has(103, "PathUtilities", "PathUtilities::NormalizePath", "Unknown path format [/Home]"));
}

TEST(Mappings, AReplyThatIsNoJsonIs13) {
    const RecordedLog log;
    MappingList mappings;
    DWORD count = 99;
    EXPECT_EQ(ReadMappings(ReplyOf("<html>"), mappings, count), 13u);
    EXPECT_EQ(count, 0u);
    ASSERT_EQ(log.Texts(103).size(), 1u);
    EXPECT_EQ(log.Texts(103)[0].find("Failed to parse JSON from server, parser error = ["), 0u);
    EXPECT_EQ(ReadMappings(ReplyOf(std::string(100000, '[')), mappings, count), 13u);
}

TEST(Mappings, WhatTheLibraryThrowsEndsTheListAndIsLogged) {
    const RecordedLog log;
    MappingList mappings;
    DWORD count = 0;
    EXPECT_EQ(ReadMappings(ReplyOf(R"([{"name":"a"},"no dictionary",{"name":"b"}])"), mappings, count), 13u);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(mappings.front()->attributes->name, QM_W("a"));
    const Lines errors = log.Texts(103);
    EXPECT_EQ(errors.back().find("JSON library has thrown a runtime_error exception ("), 0u);
}

}  // namespace
}  // namespace quillmark
