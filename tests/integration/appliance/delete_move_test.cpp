// Deleting, renaming and moving items.
#include <filesystem>

#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class DeleteAndMove : public ApplianceTest {
protected:
    void SetUp() override {
        StartServer();
        m_device.emplace(Server(), "d1");
    }

    Device& Ann() { return *m_device; }

    CurlResult Delete(const std::string& path) { return Ann().Delete("/folders" + path); }
    CurlResult Rename(const std::string& path, const std::string& name) {
        return Ann().Post("/folders" + path, "path=" + name + "&operation=update");
    }
    CurlResult Move(const std::string& path, const std::string& to, const std::string& overwrite = "false") {
        return Ann().Post("/folders" + path, "path=" + to + "&overwrite=" + overwrite + "&operation=move");
    }
    std::string RevisionOf(const std::string& path) {
        return Ann().Get("/folders" + path).Json().at("revision").get<std::string>();
    }
    std::size_t ContentFiles() {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator(Server().DataFolder() + "/contents")) {
            ++count;
        }
        return count;
    }

private:
    std::optional<Device> m_device;
};

TEST_F(DeleteAndMove, DeleteRemovesAFileAndItsContent) {
    Ann().Upload("/f", "hello");
    ASSERT_EQ(ContentFiles(), 1U);
    const CurlResult result = Delete("/f");
    EXPECT_EQ(result.status, 200) << result.body;
    EXPECT_EQ(Ann().StatusOf("/f"), 404);
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(DeleteAndMove, DeleteRemovesAFolderWithAllThatIsInIt) {
    Ann().MakeFolder("/docs");
    Ann().MakeFolder("/docs/deep");
    Ann().MakeFolder("/docs/deep/er");
    Ann().Upload("/docs/a", "1");
    Ann().Upload("/docs/deep/er/b", "2");
    Ann().Upload("/docs2", "3");
    EXPECT_EQ(Delete("/docs").status, 200);
    EXPECT_EQ(Ann().StatusOf("/docs"), 404);
    EXPECT_EQ(Ann().StatusOf("/docs/deep/er/b"), 404);
    EXPECT_EQ(Ann().ContentOf("/docs2"), "3");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeleteAndMove, DeleteChecksTheRevisionThatTheClientKnows) {
    const auto first = Ann().Upload("/f", "one").Json().at("revision").get<std::string>();
    const json second = Ann().Upload("/f", "two").Json();
    const CurlResult refused = Delete("/f?revision=" + first);
    ExpectError(refused, 409, "1077");
    EXPECT_EQ(refused.Json()["document_info"], second);
    EXPECT_EQ(Ann().ContentOf("/f"), "two");
    EXPECT_EQ(Delete("/f?revision=" + second["revision"].get<std::string>()).status, 200);
    EXPECT_EQ(Ann().StatusOf("/f"), 404);
}

TEST_F(DeleteAndMove, DeleteWithAnEmptyRevisionIsUnconditional) {
    Ann().Upload("/f", "one");
    EXPECT_EQ(Delete("/f?revision=").status, 200);
}

TEST_F(DeleteAndMove, DeleteRefusesTheRootAndWhatIsNotThere) {
    ExpectError(Delete("/"), 403, "1005");
    ExpectError(Delete(""), 403, "1005");
    ExpectError(Delete("/nothing"), 404, "1002");
    ExpectError(Delete("/nothing?revision=7"), 404, "1002");
    ExpectError(Delete("/a%2Fb"), 400, "1001");
}

TEST_F(DeleteAndMove, DeletedNamesCanBeUsedAgainWithoutAnOldRevision) {
    const auto before = std::stoull(Ann().Upload("/f", "one").Json().at("revision").get<std::string>());
    Delete("/f");
    EXPECT_GT(std::stoull(Ann().Upload("/f", "one").Json().at("revision").get<std::string>()), before);
}

TEST_F(DeleteAndMove, DeleteOfThousandsOfItemsIsOneStepThatAKillCannotHalve) {
    Server().Stop();
    StartServer({});
    const Device ann(Server(), "d1");
    ann.MakeFolder("/big");
    ann.Upload("/big/f", "kept");
    Server().Stop();
    ChangeRows(Server().DataFolder(),
               "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000)"
               " INSERT INTO items (user, parent, name, directory, revision, creation_time, modification_time,"
               " attributes, size, content)"
               " SELECT user, parent, 'f' || i, 0, revision, 0, 0, 32, 4, 'none' || i FROM n"
               " JOIN items ON name = 'f'");
    Server().KillAndStartAgain();
    ASSERT_EQ(ann.Get("/folders/big?type=all").Json()["contents"].size(), 5001U);
    RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send("DELETE /api/1.7/folders/big HTTP/1.1\r\nHost: localhost\r\nCookie: session_token=" +
                                ann.Token() + "\r\n\r\n"));
    Server().KillAndStartAgain();
    const CurlResult after = ann.Get("/folders/big?type=all");
    if (after.status == 200) {
        EXPECT_EQ(after.Json()["contents"].size(), 5001U);
    } else {
        ExpectError(after, 404, "1002");
    }
    const int status = ann.Delete("/folders/big").status;
    EXPECT_TRUE(status == 200 || status == 404) << status;
    Server().KillAndStartAgain();
    EXPECT_EQ(ann.StatusOf("/big"), 404);
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(DeleteAndMove, RenameGivesTheItemAnotherNameAndRevision) {
    Ann().MakeFolder("/docs");
    const json before = Ann().Upload("/docs/a.txt", "hello").Json();
    const CurlResult result = Rename("/docs/a.txt", "b%20c.txt");
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_EQ(result.Json()["name"], "b c.txt");
    EXPECT_EQ(result.Json()["orca_path"], "/docs/b c.txt");
    EXPECT_NE(result.Json()["revision"], before["revision"]);
    EXPECT_EQ(result.Json()["modification_time"], before["modification_time"]);
    EXPECT_EQ(Ann().ContentOf("/docs/b%20c.txt"), "hello");
    EXPECT_EQ(Ann().StatusOf("/docs/a.txt"), 404);
}

TEST_F(DeleteAndMove, RenameMayChangeOnlyTheLetterCase) {
    Ann().Upload("/readme", "x");
    EXPECT_EQ(Rename("/readme", "ReadMe").Json()["name"], "ReadMe");
    EXPECT_EQ(Ann().StatusOf("/readme"), 404);
}

TEST_F(DeleteAndMove, RenameRefusesNamesThatAreTakenOrCannotBeStored) {
    Ann().Upload("/a", "1");
    Ann().Upload("/b", "2");
    Ann().MakeFolder("/c");
    ExpectError(Rename("/a", "b"), 409, "1003");
    ExpectError(Rename("/a", "c"), 409, "1003");
    ExpectError(Rename("/a", "x%2Fy"), 400, "1001");
    ExpectError(Rename("/a", ""), 400, "1001");
    ExpectError(Rename("/nothing", "d"), 404, "1002");
    ExpectError(Rename("/", "d"), 403, "1005");
    EXPECT_EQ(Ann().ContentOf("/a"), "1");
    EXPECT_EQ(Ann().ContentOf("/b"), "2");
}

TEST_F(DeleteAndMove, MoveTakesAFileToAnotherFolder) {
    Ann().MakeFolder("/docs");
    Ann().MakeFolder("/other");
    const json before = Ann().Upload("/docs/a", "hello").Json();
    const CurlResult result = Move("/docs/a", "/other/b");
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_EQ(result.Json()["orca_path"], "/other/b");
    EXPECT_EQ(result.Json()["size"], 5);
    EXPECT_NE(result.Json()["revision"], before["revision"]);
    EXPECT_EQ(result.Json(), Ann().Get("/folders/other/b").Json());
    EXPECT_EQ(Ann().ContentOf("/other/b"), "hello");
    EXPECT_EQ(Ann().StatusOf("/docs/a"), 404);
}

TEST_F(DeleteAndMove, MoveTakesAFolderWithAllThatIsInIt) {
    Ann().MakeFolder("/docs");
    Ann().MakeFolder("/docs/deep");
    Ann().MakeFolder("/other");
    Ann().Upload("/docs/deep/a", "hello");
    EXPECT_EQ(Move("/docs", "/other/papers").status, 200);
    EXPECT_EQ(Ann().ContentOf("/other/papers/deep/a"), "hello");
    EXPECT_EQ(Ann().StatusOf("/docs"), 404);
}

TEST_F(DeleteAndMove, MoveMayMeetTheNewNameInTheOldFolderAndTheOldNameInTheNewOne) {
    Ann().MakeFolder("/a");
    Ann().MakeFolder("/b");
    Ann().Upload("/a/x", "moved");
    Ann().Upload("/a/y", "stays in a");
    Ann().Upload("/b/x", "stays in b");
    EXPECT_EQ(Move("/a/x", "/b/y").status, 200);
    EXPECT_EQ(Ann().ContentOf("/b/y"), "moved");
    EXPECT_EQ(Ann().ContentOf("/a/y"), "stays in a");
    EXPECT_EQ(Ann().ContentOf("/b/x"), "stays in b");
}

TEST_F(DeleteAndMove, MoveReplacesAFileOnlyWhenTold) {
    Ann().MakeFolder("/docs");
    Ann().Upload("/a", "new");
    Ann().Upload("/docs/a", "old");
    ExpectError(Move("/a", "/docs/a"), 409, "1003");
    ExpectError(Ann().Post("/folders/a", "path=/docs/a&operation=move"), 409, "1003");
    EXPECT_EQ(Ann().ContentOf("/docs/a"), "old");
    EXPECT_EQ(Move("/a", "/docs/a", "true").status, 200);
    EXPECT_EQ(Ann().ContentOf("/docs/a"), "new");
    EXPECT_EQ(Ann().StatusOf("/a"), 404);
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeleteAndMove, MoveNeverReplacesAFolderOrByAFolder) {
    Ann().MakeFolder("/one");
    Ann().MakeFolder("/two");
    Ann().Upload("/f", "x");
    Ann().Upload("/two/inside", "x");
    ExpectError(Move("/f", "/two", "true"), 409, "1004");
    ExpectError(Move("/one", "/f", "true"), 409, "1004");
    ExpectError(Move("/one", "/two", "true"), 409, "1004");
    ExpectError(Move("/two/inside", "/two", "true"), 409, "1004");
    EXPECT_EQ(Ann().ContentOf("/f"), "x");
    EXPECT_EQ(Ann().ContentOf("/two/inside"), "x");
}

TEST_F(DeleteAndMove, MoveRefusesWhatMakesNoSense) {
    Ann().MakeFolder("/docs");
    Ann().MakeFolder("/docs/deep");
    Ann().Upload("/f", "x");
    ExpectError(Move("/docs", "/docs/deep/docs"), 403, "1005");
    ExpectError(Move("/docs", "/docs/x"), 403, "1005");
    ExpectError(Move("/", "/docs/root"), 403, "1005");
    ExpectError(Move("/f", "/"), 403, "1005");
    ExpectError(Move("/nothing", "/docs/x"), 404, "1002");
    ExpectError(Move("/f", "/nowhere/f"), 404, "1002");
    ExpectError(Move("/docs", "/f/docs"), 409, "1004");
    ExpectError(Move("/f", "/docs/.."), 400, "1001");
    ExpectError(Move("/f", "/docs/f", "maybe"), 400, "1001");
    ExpectError(Ann().Post("/folders/f", "overwrite=true&operation=move"), 400, "1001");
}

TEST_F(DeleteAndMove, MoveOntoItselfChangesNothing) {
    const json before = Ann().Upload("/f", "x").Json();
    EXPECT_EQ(Move("/f", "/f", "true").Json(), before);
    EXPECT_EQ(Ann().ContentOf("/f"), "x");
}

TEST_F(DeleteAndMove, WhatWasAnsweredSurvivesAKill) {
    Server().Stop();
    StartServer({});
    const Device ann(Server(), "d1");
    ann.MakeFolder("/docs");
    ann.Upload("/gone", "1");
    ann.Upload("/a", "2");
    ann.Upload("/docs/b", "3");
    ASSERT_EQ(ann.Delete("/folders/gone").status, 200);
    ASSERT_EQ(ann.Post("/folders/a", "path=/docs/b&overwrite=true&operation=move").status, 200);
    Server().KillAndStartAgain();
    EXPECT_EQ(ann.StatusOf("/gone"), 404);
    EXPECT_EQ(ann.StatusOf("/a"), 404);
    EXPECT_EQ(ann.ContentOf("/docs/b"), "2");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeleteAndMove, NeedASession) {
    ExpectError(RunCurl({"-X", "DELETE", Url("/folders/f")}), 401, "6");
    ExpectError(RunCurl({"-d", "path=/a&operation=move", Url("/folders/f")}), 401, "6");
}

}  // namespace appliance_test
