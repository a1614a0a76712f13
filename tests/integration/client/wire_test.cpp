// Whole requests as they leave the library, written out by hand.
#include "integration/client/ClientTest.h"
#include "integration/client/ScriptedServer.h"

namespace quillmark::testing {
namespace {

class WireTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0u, m_client.Login("anna b", "p&ss=w\xC3\xB6rd+/~")); }

    // The request that begins like this, with "HOST" for the server's address and "BOUNDARY" for the boundary, which
    // is another one in each process.
    std::string Request(const std::string& beginning) {
        std::string request = m_server.Request(beginning);
        Replace(request, m_server.Url().substr(7), "HOST");
        const std::size_t start = request.find("boundary=\"");
        if (start != std::string::npos) {
            m_boundary = request.substr(start + 10, request.find('"', start + 10) - start - 10);
            Replace(request, m_boundary, "BOUNDARY");
        }
        return request;
    }
    const std::string& Boundary() const { return m_boundary; }

    WideString LocalFile(const std::string& content) { return WriteFileAt(m_folder / "local", content); }

    ScriptedServer m_server;
    HostClient m_client{m_server.Url()};

private:
    static void Replace(std::string& text, const std::string& from, const std::string& to) {
        for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
            text.replace(at, from.size(), to);
        }
    }

    TempFolder m_folder;
    std::string m_boundary;
};

TEST_F(WireTest, DiscoveryAsksForEndpointsAndThenForTheMode) {
    EXPECT_EQ(
        "GET /endpoints HTTP/1.1\r\n"
        "Host: HOST\r\n"
        "Accept: application/json\r\n"
        "Connection: Keep-Alive\r\n"
        "\r\n",
        Request("GET /endpoints"));
    EXPECT_EQ(
        "GET /api/1.7/init HTTP/1.1\r\n"
        "Host: HOST\r\n"
        "Accept: application/json\r\n"
        "Connection: Keep-Alive\r\n"
        "\r\n",
        Request("GET /api/1.7/init"));
}

TEST_F(WireTest, LoginIsAFormWithoutACookie) {
    EXPECT_EQ(
        "POST /api/1.7/sessions HTTP/1.1\r\n"
        "Host: HOST\r\n"
        "Content-Type: application/x-www-form-urlencoded; charset=UTF-8\r\n"
        "Accept: application/json\r\n"
        "Connection: Keep-Alive\r\n"
        "Content-Length: 120\r\n"
        "\r\n"
        "user_id=anna+b&password=p%26ss%3Dw%C3%B6rd%2B%2F%7E&device_id=device-1&device_name=test+device&"
        "platform=Windows+QMClient",
        Request("POST /api/1.7/sessions"));
}

TEST_F(WireTest, FolderCreationPostsNameAndOperationToTheParent) {
    Attributes attributes;
    ASSERT_EQ(0u, m_client->CreateFolder(QM_W("/Shared files/N\u00e4chste+%"), attributes, nullptr).error);
    EXPECT_EQ(
        "POST /api/1.7/folders/Shared%20files HTTP/1.1\r\n"
        "Host: HOST\r\n"
        "Cookie: session_token=T0KEN\r\n"
        "Content-Type: application/x-www-form-urlencoded; charset=UTF-8\r\n"
        "Accept: application/json\r\n"
        "Connection: Keep-Alive\r\n"
        "Content-Length: 40\r\n"
        "\r\n"
        "name=N%C3%A4chste%2B%25&operation=create",
        Request("POST /api/1.7/folders"));
}

TEST_F(WireTest, DownloadAsksForTheExpectedRevision) {
    const Attributes expected = UploadAttributes(7);
    expected->SetRevision("7-abc");
    TempFolder folder;
    ASSERT_EQ(0u, m_client->DownloadFile(QM_W("/Shared/a b.txt"), WidenUtf8(folder / "local"), expected,
                                         MakeAttributes(), QM_W(""), nullptr, nullptr, 0));
    EXPECT_EQ("content", ReadFileAt(folder / "local"));
    EXPECT_EQ(
        "GET /api/1.7/folders/Shared/a%20b.txt?revision=7-abc HTTP/1.1\r\n"
        "Host: HOST\r\n"
        "Cookie: session_token=T0KEN\r\n"
        "Accept: application/octet-stream\r\n"
        "Connection: Keep-Alive\r\n"
        "\r\n",
        Request("GET /api/1.7/folders"));
}

// The announced length, counted by hand with the 56 characters that a boundary has:
//
//   operation          120     60 opening line, 38 + 9 + 5 disposition, 6 value, 2 line break
//   creation_time      142     60, 38 + 13 + 5, 24, 2
//   modification_time  146     60, 38 + 17 + 5, 24, 2
//   attributes         118     60, 38 + 10 + 5, 3, 2
//   size               111     60, 38 + 4 + 5, 2, 2
//   revision           118     60, 38 + 8 + 5, 5, 2
//   file               197     60, 38 + 4 + 13 + 23 + 3, 43 for 42 bytes of type and blank line, 11, 2
//   end                 64     2 line break (that is the one above, counted again), 2 + 56 + 4 closing line
//                     1016     of which 1013 are sent
TEST_F(WireTest, UploadIsOneMultipartBodyWithItsLengthAnnounced) {
    const Attributes attributes = UploadAttributes(11);
    attributes->SetRevision("7-abc");
    ASSERT_EQ(0u, m_client->UploadFile(LocalFile("hello\r\n--w\n"), QM_W("/Shared/my file.txt"), attributes, nullptr,
                                       nullptr, 0));
    const std::string request = Request("POST /api/1.7/folders");
    EXPECT_EQ(
        "POST /api/1.7/folders/Shared/my%20file.txt HTTP/1.1\r\n"
        "Host: HOST\r\n"
        "Cookie: session_token=T0KEN\r\n"
        "Accept: application/json\r\n"
        "Content-Type: multipart/form-data; boundary=\"BOUNDARY\"\r\n"
        "Connection: Keep-Alive\r\n"
        "Content-Length: 1016\r\n"
        "\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"operation\"\r\n"
        "\r\n"
        "create\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"creation_time\"\r\n"
        "\r\n"
        "2026-01-02T03:04:05.678Z\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"modification_time\"\r\n"
        "\r\n"
        "2026-01-02T03:04:05.678Z\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"attributes\"\r\n"
        "\r\n"
        "128\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"size\"\r\n"
        "\r\n"
        "11\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"revision\"\r\n"
        "\r\n"
        "7-abc\r\n"
        "--BOUNDARY\r\n"
        "Content-Disposition: form-data; name=\"file\"; filename=\"%2FShared%2Fmy+file.txt\"\r\n"
        "Content-Type: application/octet-stream\r\n"
        "\r\n"
        "hello\r\n--w\n\r\n"
        "--BOUNDARY--\r\n",
        request);
    const std::string sent = m_server.Request("POST /api/1.7/folders");
    EXPECT_EQ(1013u, sent.size() - sent.find("\r\n\r\n") - 4);
}

TEST_F(WireTest, BoundaryIsAGuidBetweenTheMarks) {
    ASSERT_EQ(0u, m_client->UploadFile(LocalFile("x"), QM_W("/x"), UploadAttributes(1), nullptr, nullptr, 0));
    static_cast<void>(Request("POST /api/1.7/folders"));
    EXPECT_EQ(56u, Boundary().size());
    EXPECT_EQ("QM_MARK--{", Boundary().substr(0, 10));
    EXPECT_EQ("}--QM_MARK", Boundary().substr(46));
}

TEST_F(WireTest, UploadWithoutARevisionHasNoSuchField) {
    ASSERT_EQ(0u, m_client->UploadFile(LocalFile(""), QM_W("/empty"), UploadAttributes(0), nullptr, nullptr, 0));
    const std::string request = Request("POST /api/1.7/folders/empty");
    EXPECT_EQ(std::string::npos, request.find("revision"));
    EXPECT_NE(std::string::npos, request.find("Content-Type: application/octet-stream\r\n\r\n\r\n--BOUNDARY--\r\n"));
}

TEST_F(WireTest, BytesThatAnUploadOwesArePaidWithLineBreaksBeforeTheNextRequest) {
    ASSERT_EQ(0u, m_client->UploadFile(LocalFile("x"), QM_W("/x"), UploadAttributes(1), nullptr, nullptr, 0));
    WideString version;
    ASSERT_EQ(0u, m_client->Version(version));
    EXPECT_EQ(3u, m_server.PaidBytes().size());
    EXPECT_EQ(std::string::npos, m_server.PaidBytes().find_first_not_of("\r\n"));
}

}  // namespace
}  // namespace quillmark::testing
