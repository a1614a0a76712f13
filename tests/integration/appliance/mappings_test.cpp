// Mapped folders: what is offered, and what their storages allow.
#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class MappedFolders : public ApplianceTest {
protected:
    // Options are given as "--mapping" each.
    void Begin(const std::vector<std::string>& mappings, std::vector<std::string> options = {"--no-sync"}) {
        for (const std::string& mapping : mappings) {
            options.insert(options.end(), {"--mapping", mapping});
        }
        StartServer(options);
        m_ann.emplace(Server(), "d1");
    }

    Device& Ann() { return *m_ann; }
    json List() { return Ann().Get("/folders?includeAll=true&timeout=30").Json()["contents"]; }

    // The three transfers that change a file otherwise than whole, each with one byte.
    std::vector<CurlResult> TransferInParts(const std::string& path) {
        WriteFile(Server().Scratch("part"), "x");
        const std::string file = "file=@" + Server().Scratch("part");
        return {
            Ann().Curl({"-H", "qm_file_size: 1", "-H", "qm_offset: 0", "-H", "qm_block_size: 1", "-H", "qm_start: true",
                        "-F", file, Url("/resume/upload" + path + "?resume_id=0F8FAD5B-D9CB-469F-A165-70867728950E")}),
            Ann().Curl({"-F", "size=1", "-F", file, Url("/delta" + path)}),
            Ann().Curl({"-F", "size=1", "-F", file, Url("/asdelta/folders" + path + "?revision=")})};
    }

    CurlResult Run(const std::string& mapping) {
        const TemporaryFolder folder;
        CurlResult result;
        result.exitCode = Process({APPLIANCE_PROGRAM, "--data", folder.Path("data"), "--user", "a:b", "--listen",
                                   "127.0.0.1:0", "--mapping", mapping, "--mapping", "Docs"},
                                  folder.Path("output"), folder.Path("errors"))
                              .Wait();
        result.errors = ReadFile(folder.Path("errors"));
        return result;
    }

private:
    std::optional<Device> m_ann;
};

TEST_F(MappedFolders, AreListedInTheOrderOfTheOptionsWithAllThatTheySay) {
    Begin(
        {"Team Docs;type=smb;mode=AUTOMATIC;description=Papers = all;limit=5000000000",
         "Archive;type=webdav;status=BAD_CREDENTIALS;mode=OFFLINE;readonly;no-sharing;no-delta;no-locking;no-resumable",
         "Plain"});
    const json list = List();
    ASSERT_EQ(list.size(), 3U);
    json first = list[0];
    EXPECT_EQ(first["guid"].get<std::string>().size(), 36U);
    EXPECT_EQ(first["storage_id"].get<std::string>().size(), 36U);
    first.erase("guid");
    first.erase("storage_id");
    EXPECT_EQ(first, json::parse(R"({"name": "Team Docs", "description": "Papers = all", "permissions": "WRITE",
        "folder_permissions": "WRITE", "status": "ONLINE", "mode": "AUTOMATIC", "type": "smb", "allow_sharing": true,
        "capabilities": {"delta_upload": true, "locking": true, "resumable_uploads": true,
                         "file_size_upload_limit": 5000000000}})"));
    json second = list[1];
    second.erase("guid");
    second.erase("storage_id");
    EXPECT_EQ(second, json::parse(R"({"name": "Archive", "description": "", "permissions": "READONLY",
        "folder_permissions": "READONLY", "status": "BAD_CREDENTIALS", "mode": "OFFLINE", "type": "webdav",
        "allow_sharing": false,
        "capabilities": {"delta_upload": false, "locking": false, "resumable_uploads": false,
                         "file_size_upload_limit": 0}})"));
    EXPECT_EQ(list[2]["name"], "Plain");
    EXPECT_EQ(list[2]["type"], "internal");
}

TEST_F(MappedFolders, AreFoldersOfEveryUserFromTheStart) {
    Begin({"Docs"}, {"--no-sync", "--user", "bob:other"});
    EXPECT_EQ(Ann().Get("/folders/Docs").Json()["directory"], true);
    const Device bob(Server(), "d1", "bob", "other");
    EXPECT_EQ(bob.Upload("/Docs/f", "x").status, 200);
    EXPECT_EQ(Ann().StatusOf("/Docs/f"), 404);
}

TEST_F(MappedFolders, KeepTheirIdentifiersAndContentsOverRestarts) {
    Begin({"Docs;type=smb", "Other"}, {});
    Ann().Upload("/Docs/f", "x");
    const json before = List();
    EXPECT_NE(before[0]["guid"], before[1]["guid"]);
    EXPECT_NE(before[0]["storage_id"], before[1]["storage_id"]);
    Server().KillAndStartAgain();
    EXPECT_EQ(List(), before);
    EXPECT_EQ(Ann().ContentOf("/Docs/f"), "x");
}

TEST_F(MappedFolders, AreTheTopLevelFoldersWhenNoneIsConfigured) {
    Begin({}, {});
    EXPECT_EQ(List(), json::array());
    Ann().MakeFolder("/b");
    Ann().MakeFolder("/a");
    Ann().MakeFolder("/a/deep");
    Ann().Upload("/file", "x");
    const json list = List();
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]["name"], "a");
    EXPECT_EQ(list[0]["type"], "internal");
    EXPECT_EQ(list[0]["status"], "ONLINE");
    EXPECT_EQ(list[0]["permissions"], "WRITE");
    EXPECT_EQ(list[0]["capabilities"], json::parse(R"({"delta_upload": true, "locking": true,
        "resumable_uploads": true, "file_size_upload_limit": 0})"));
    EXPECT_EQ(list[1]["name"], "b");
    EXPECT_NE(list[0]["guid"], list[1]["guid"]);
    EXPECT_EQ(list[0]["storage_id"], list[1]["storage_id"]);
    Server().KillAndStartAgain();
    EXPECT_EQ(List(), list);
    ASSERT_EQ(Ann().Post("/folders/a", "operation=update&path=c").status, 200);
    EXPECT_EQ(List()[1]["guid"], list[0]["guid"]);
}

TEST_F(MappedFolders, AreOnlyListedFromTheRootAndWithASensibleTime) {
    Begin({"Docs"});
    EXPECT_EQ(Ann().Get("/folders?includeAll=false").Json()["orca_path"], "/");
    EXPECT_EQ(Ann().Get("/folders/Docs?includeAll=true").Json()["orca_path"], "/Docs");
    EXPECT_EQ(Ann().Get("/folders?includeAll=true").Json()["contents"].size(), 1U);
    ExpectError(Ann().Get("/folders?includeAll=true&timeout=soon"), 400, "1001");
    ExpectError(RunCurl({Url("/folders?includeAll=true")}), 401, "6");
}

TEST_F(MappedFolders, ThatAreReadOnlyRefuseEveryChange) {
    Begin({"Docs"});
    Ann().MakeFolder("/Docs/deep");
    Ann().Upload("/Docs/f", "content");
    Ann().Upload("/outside", "x");
    Server().StartAgainWith({"--no-sync", "--mapping", "Docs;readonly"});
    ExpectError(Ann().Upload("/Docs/f", "new"), 403, "1005");
    ExpectError(Ann().Upload("/Docs/deep/g", "new"), 403, "1005");
    ExpectError(Ann().MakeFolder("/Docs/new"), 403, "1005");
    ExpectError(Ann().Post("/folders/Docs/f", "operation=update&attributes=33"), 403, "1005");
    ExpectError(Ann().Post("/folders/Docs", "operation=update&attributes=18"), 403, "1005");
    ExpectError(Ann().Post("/folders/Docs/f", "operation=update&path=g"), 403, "1005");
    ExpectError(Ann().Post("/folders/Docs/f", "operation=move&path=/g"), 403, "1005");
    ExpectError(Ann().Post("/folders/outside", "operation=move&path=/Docs/g"), 403, "1005");
    for (const CurlResult& result : TransferInParts("/Docs/f")) {
        ExpectError(result, 403, "1005");
    }
    ExpectError(Ann().Delete("/folders/Docs/f"), 403, "1005");
    ExpectError(Ann().Post("/locking/Docs/f", "timeout=5"), 403, "1005");
    EXPECT_EQ(Ann().Get("/locking/Docs/f").Json()["status"], "readonly");
    EXPECT_EQ(Ann().ContentOf("/Docs/f"), "content");
    const json listing = Ann().Get("/folders/Docs?type=all").Json();
    EXPECT_EQ(listing["permissions"], "READONLY");
    EXPECT_EQ(listing["contents"][0]["permissions"], "READONLY");
    EXPECT_EQ(listing["contents"][1]["folder_permissions"], "READONLY");
    const json root = Ann().Get("/folders/?type=all").Json();
    EXPECT_EQ(root["permissions"], "WRITE");
    EXPECT_EQ(root["contents"][0]["permissions"], "READONLY");
    EXPECT_EQ(root["contents"][1]["permissions"], "WRITE");
}

TEST_F(MappedFolders, WhoseStorageIsAwayAnswerNothing) {
    Begin({"Docs"});
    Ann().Upload("/Docs/f", "content");
    Ann().Upload("/outside", "x");
    const json shared = Ann().Post("/share", "path=/Docs/f&type=USER").Json();
    const std::string path = shared["link"].get<std::string>().substr(Server().Http().size());
    for (const std::string status : {"OFFLINE", "TIMEOUT", "INACCESSIBLE", "BAD_CREDENTIALS", "offline"}) {
        Server().StartAgainWith({"--no-sync", "--mapping", "Docs;status=" + status});
        ExpectError(Ann().Get("/folders/Docs"), 503, "1031");
        ExpectError(Ann().Get("/folders/Docs?type=all"), 503, "1031");
        ExpectError(Ann().Get("/folders/Docs/f"), 503, "1031");
    }
    EXPECT_EQ(Ann().Curl({"-H", "Accept: application/octet-stream", Url("/folders/Docs/f")}).status, 503);
    ExpectError(Ann().Upload("/Docs/f", "new"), 503, "1031");
    ExpectError(Ann().MakeFolder("/Docs/new"), 503, "1031");
    ExpectError(Ann().Post("/folders/Docs/f", "operation=update&path=g"), 503, "1031");
    ExpectError(Ann().Post("/folders/outside", "operation=move&path=/Docs/g"), 503, "1031");
    for (const CurlResult& result : TransferInParts("/Docs/f")) {
        ExpectError(result, 503, "1031");
    }
    ExpectError(Ann().Delete("/folders/Docs/f"), 503, "1031");
    ExpectError(Ann().Get("/locking/Docs/f"), 503, "1031");
    ExpectError(Ann().Post("/locking/Docs/f", "timeout=5"), 503, "1031");
    ExpectError(Ann().Post("/share", "path=/Docs/f&type=USER"), 503, "1031");
    ExpectError(RunCurl({Server().Http() + path}), 503, "1031");
    EXPECT_EQ(Ann().Get("/folders/?type=all").Json()["contents"].size(), 2U);
    EXPECT_EQ(Ann().ContentOf("/outside"), "x");
    Server().StartAgainWith({"--no-sync", "--mapping", "Docs;status=online"});
    EXPECT_EQ(Ann().ContentOf("/Docs/f"), "content");
}

TEST_F(MappedFolders, TakeNoFileBeyondTheirLimit) {
    Begin({"Docs;limit=5"});
    Ann().MakeFolder("/outside");
    EXPECT_EQ(Ann().Upload("/Docs/f", "12345").status, 200);
    ExpectError(Ann().Upload("/Docs/g", "123456"), 413, "1021");
    EXPECT_EQ(Ann().Upload("/outside/g", "123456").status, 200);
    ExpectError(Ann().Post("/folders/outside/g", "operation=move&path=/Docs/g"), 413, "1021");
    ExpectError(Ann().Post("/folders/outside", "operation=move&path=/Docs/outside"), 413, "1021");
    EXPECT_EQ(Ann().Get("/folders/Docs?type=all").Json()["contents"].size(), 1U);
}

TEST_F(MappedFolders, RefuseWhatTheirStorageCannotDo) {
    Begin({"Docs;no-locking;no-sharing;no-delta;no-resumable"});
    Ann().Upload("/Docs/f", "x");
    ExpectError(Ann().Post("/locking/Docs/f", "timeout=5"), 403, "1005");
    EXPECT_EQ(Ann().Get("/locking/Docs/f").Json()["status"], "unlocked");
    for (const CurlResult& result : TransferInParts("/Docs/f")) {
        ExpectError(result, 403, "1005");
    }
    ExpectError(Ann().Post("/share", "path=/Docs/f&type=USER"), 403, "1005");
}

TEST_F(MappedFolders, AreNeitherMovedNorRenamedNorDeletedNorReplaced) {
    Begin({"Docs", "Other"});
    ExpectError(Ann().Delete("/folders/Docs"), 403, "1005");
    ExpectError(Ann().Post("/folders/Docs", "operation=update&path=Papers"), 403, "1005");
    ExpectError(Ann().Post("/folders/Docs", "operation=move&path=/Other/Docs"), 403, "1005");
    ExpectError(Ann().Upload("/Docs", "x"), 409, "1004");
    EXPECT_EQ(Ann().Post("/folders/Docs", "operation=update&attributes=18").status, 200);
    EXPECT_EQ(List().size(), 2U);
}

TEST_F(MappedFolders, ThatAreNoLongerOfferedAreOrdinaryFolders) {
    Begin({"Docs;readonly", "Other"});
    const json before = List();
    Server().StartAgainWith({"--no-sync", "--mapping", "Other"});
    EXPECT_EQ(List(), json::array({before[1]}));
    EXPECT_EQ(Ann().Upload("/Docs/f", "x").status, 200);
    Server().StartAgainWith({"--no-sync", "--mapping", "Docs;readonly", "--mapping", "Other"});
    EXPECT_EQ(List(), before);
}

TEST_F(MappedFolders, CannotHaveTheNameOfAFileThatIsThere) {
    Begin({});
    Ann().Upload("/Docs", "x");
    EXPECT_ANY_THROW(Server().StartAgainWith({"--no-sync", "--mapping", "Docs"}));
    EXPECT_EQ(Server().ErrorText(), "quillmark-appliance: the mapping Docs has the name of a file that a user keeps\n");
}

TEST_F(MappedFolders, AreRefusedWithAClearTextWhenTheOptionMakesNoSense) {
    const std::vector<std::pair<std::string, std::string>> wrong{
        {"", "mapping '': a folder cannot have the name ''"},
        {"a/b", "mapping 'a/b': a folder cannot have the name 'a/b'"},
        {"..;readonly", "mapping '..;readonly': a folder cannot have the name '..'"},
        {"a;", "mapping 'a;': '' is no setting"},
        {"a;fast", "mapping 'a;fast': 'fast' is no setting"},
        {"a;type", "mapping 'a;type': 'type' is no setting"},
        {"a;readonly=1", "mapping 'a;readonly=1': 'readonly' is no setting with a value"},
        {"a;colour=red", "mapping 'a;colour=red': 'colour' is no setting with a value"},
        {"a;type=", "mapping 'a;type=': type has no value"},
        {"a;status=OFLINE",
         "mapping 'a;status=OFLINE': 'OFLINE' is none of ONLINE, OFFLINE, TIMEOUT, INACCESSIBLE, BAD_CREDENTIALS"},
        {"a;limit=0", "mapping 'a;limit=0': the limit '0' is no number of bytes"},
        {"a;limit=1M", "mapping 'a;limit=1M': the limit '1M' is no number of bytes"},
        {"a;limit=9223372036854775808",
         "mapping 'a;limit=9223372036854775808': the limit '9223372036854775808' is no "
         "number of bytes"},
        {"a\xFF", "mapping 'a\xFF': it is not UTF-8"},
        {"Docs;readonly", "mapping 'Docs': there is one of that name already"},
    };
    for (const auto& [mapping, text] : wrong) {
        const CurlResult result = Run(mapping);
        EXPECT_NE(result.exitCode, 0) << mapping;
        EXPECT_NE(result.errors.find(text), std::string::npos) << result.errors;
    }
}

}  // namespace appliance_test
