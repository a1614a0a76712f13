// The mapped folders. The registry is a folder of the test's own.
#include "unit/client/ClientTest.h"
#include "unit/client/SettingsFolder.h"

namespace quillmark::test {
namespace {

class GetRemoteFolderMap : public ClientTest {
protected:
    void SetUp() override { Discover(); }
    StatusPair Run() { return client->GetRemoteFolderMap(mappings, reply, nullptr); }
    [[nodiscard]] std::string Url() const {
        const std::string call = CallsOf("Request::Initialise").back();
        return call.substr(call.find('"'), call.find(", \"GET\"") - call.find('"'));
    }

    SettingsFolder settings;
    MappingList mappings;
    ResponseBuffer reply;
};

TEST_F(GetRemoteFolderMap, AsksForAllFoldersOfTheUser) {
    factory->Reply(200, R"([{"name":"Home","type":"smb"},{"name":"Team"}])");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(
        factory->Calls(),
        (Lines{"CreateConnection()", "Connection::Initialise(c3, \"\", 0, s1, 0, 0, 0, 0)", "CreateRequest(s1)",
               "Request::Initialise(r3, \"/qm/folders?includeAll=true&timeout=30\", \"GET\", c3, null, 0x00000000, "
               "false)",
               "GetResponse(r3)", "GetHTTPStatus(r3)"}));
    ASSERT_EQ(mappings.size(), 2u);
    EXPECT_EQ(mappings.front()->path, QM_W("/Home"));
    EXPECT_TRUE(mappings.front()->capabilities->deltaUpload);
    EXPECT_EQ(mappings.back()->attributes->name, QM_W("Team"));
    EXPECT_EQ(reply.text(), R"([{"name":"Home","type":"smb"},{"name":"Team"}])");
}

TEST_F(GetRemoteFolderMap, LogsItsSteps) {
    factory->Reply(200, R"([{"name":"Home"},{"name":"Team"}])");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    for (const char* text : {"Retrieving remote folder mappings", "Retrieved 2 mappings from the server"}) {
        EXPECT_TRUE(log.Has(Information, "NativeHttp", "CNativeHttp::GetRemoteFolderMap", text)) << text;
    }
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::GetRemoteFolderMap", "Exited [status=0]"));
}

TEST_F(GetRemoteFolderMap, TheTimeoutIsReadAtEveryCall) {
    settings.Write("\"OfflineMappointTimeout\"=dword:00000005\n");
    static_cast<void>(Run());
    EXPECT_EQ(Url(), "\"/qm/folders?includeAll=true&timeout=5\"");
    settings.Write("\"OfflineMappointTimeout\"=dword:00000078\n");
    static_cast<void>(Run());
    EXPECT_EQ(Url(), "\"/qm/folders?includeAll=true&timeout=120\"");
}

TEST_F(GetRemoteFolderMap, OnAServerOfApi10ItSendsNothing) {
    client = std::make_unique<CNativeHttp>(QM_W("laptop"), factory);
    Discover("1.0");
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    EXPECT_EQ(factory->Calls(), Lines{});
    EXPECT_TRUE(log.Has(Error, "NativeHttp", "CNativeHttp::GetRemoteFolderMap",
                        "API Version 1.0 detected, this is no longer supported"));
}

TEST_F(GetRemoteFolderMap, AReplyWithoutFoldersIs13) {
    for (const char* body : {"[]", "{}", "<html>", R"(["no dictionary"])"}) {
        factory->Reply(200, body);
        EXPECT_EQ(Run(), (StatusPair{13, 0})) << body;
    }
    EXPECT_EQ(log.Count(Warning, "ERROR: No mappings returned from the server!"), 4u);
    EXPECT_TRUE(mappings.empty());
}

TEST_F(GetRemoteFolderMap, FoldersBeforeAnUnreadableOneCount) {
    factory->Reply(200, R"([{"name":"Home"},"no dictionary"])");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    EXPECT_EQ(mappings.size(), 1u);
}

TEST_F(GetRemoteFolderMap, ReplacesWhatListAndBufferHeld) {
    factory->Reply(200, R"({"name":"old"})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    factory->Reply(200, R"({"name":"new"})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    ASSERT_EQ(mappings.size(), 1u);
    EXPECT_EQ(mappings.front()->path, QM_W("/new"));
    EXPECT_EQ(reply.text(), R"({"name":"new"})");
}

TEST_F(GetRemoteFolderMap, AFailureIsThePairAsItIs) {
    factory->Reply(200, R"({"name":"kept"})");
    EXPECT_EQ(Run(), (StatusPair{0, 0}));
    factory->Reply(500, R"({"errorId":"17","severity":"2"})");
    EXPECT_EQ(Run(), (StatusPair{20017, 2}));
    EXPECT_EQ(reply.text(), R"({"errorId":"17","severity":"2"})");
    factory->Reply(200);
    EXPECT_EQ(Run(), (StatusPair{13, 0}));
    factory->Fail("Connection::Initialise", 12005);
    EXPECT_EQ(Run(), (StatusPair{12005, 0}));
    EXPECT_EQ(mappings.size(), 1u);
}

TEST_F(GetRemoteFolderMap, AReplyCanBeReadAgain) {
    DWORD count = 0;
    EXPECT_EQ(client->GetMappingsFromResponse(Reply(R"([{"name":"a"},{"name":"b"}])"), mappings, 0, count), 0u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(mappings.size(), 2u);
    EXPECT_EQ(factory->Calls(), Lines{});
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::GetMappingsFromResponse", "Exited [status=0]"));
    EXPECT_EQ(client->GetMappingsFromResponse(ResponseBuffer(), mappings, 7, count), 13u);
    EXPECT_EQ(count, 0u);
}

TEST_F(GetRemoteFolderMap, CanBeCancelled) {
    Event cancel;
    EXPECT_EQ(client->GetRemoteFolderMap(mappings, reply, cancel.Handle()).error, 13u);
    EXPECT_TRUE(log.Has(Information, Format("Trigger added for event [0x%x]", HandleNumber(cancel.Handle()))));
}

}  // namespace
}  // namespace quillmark::test
