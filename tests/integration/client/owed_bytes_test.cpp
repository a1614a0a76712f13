// The bytes that an upload announces and does not send: neither a client that pays them afterwards nor one that does
// not is misframed on a connection that is kept.
#include "integration/appliance/RawConnection.h"
#include "integration/client/ClientTest.h"

namespace quillmark::testing {
namespace {

class OwedBytesTest : public ClientTest {
protected:
    // An upload written by hand, announced with so many bytes more than it has.
    std::string UploadRequest(const std::string& name, const std::string& content, std::size_t owed) {
        const std::string body =
            "--XYZ\r\nContent-Disposition: form-data; name=\"operation\"\r\n\r\ncreate\r\n"
            "--XYZ\r\nContent-Disposition: form-data; name=\"size\"\r\n\r\n" +
            std::to_string(content.size()) +
            "\r\n--XYZ\r\nContent-Disposition: form-data; name=\"file\"; filename=\"x\"\r\n"
            "Content-Type: application/octet-stream\r\n\r\n" +
            content + "\r\n--XYZ--\r\n";
        return "POST /api/1.7/folders/" + name +
               " HTTP/1.1\r\nHost: localhost\r\nContent-Type: multipart/form-data; boundary=\"XYZ\"\r\n"
               "Cookie: session_token=" +
               Token() + "\r\nContent-Length: " + std::to_string(body.size() + owed) + "\r\n\r\n" + body;
    }
};

TEST_F(OwedBytesTest, TwoUploadsOfAClientThatPaysThemShareOneConnection) {
    StartAndLogin();
    EXPECT_EQ(0u, Upload("/one", "the first content"));
    EXPECT_EQ(0u, Upload("/two", "the second content"));
    EXPECT_EQ(1u, Server().ConnectionCount());
    EXPECT_EQ("the first content", ContentOf("/one"));
    EXPECT_EQ("the second content", ContentOf("/two"));
}

TEST_F(OwedBytesTest, TwoUploadsOfAClientThatDoesNotPayThemShareOneConnection) {
    StartAndLogin();
    Server().ResetStatistics();
    for (const std::size_t owed : {2u, 3u}) {
        const std::string suffix = std::to_string(owed);
        appliance_test::RawConnection connection(Server().HttpPort());
        ASSERT_TRUE(connection.Send(UploadRequest("one-" + suffix, "the first content", owed)));
        EXPECT_EQ(200, connection.ReadReply().status);
        ASSERT_TRUE(connection.Send(UploadRequest("two-" + suffix, "the second content", owed)));
        EXPECT_EQ(200, connection.ReadReply().status);
    }
    EXPECT_EQ(2u, Server().ConnectionCount());
    for (const std::string suffix : {"2", "3"}) {
        EXPECT_EQ("the first content", ContentOf("/one-" + suffix));
        EXPECT_EQ("the second content", ContentOf("/two-" + suffix));
    }
}

TEST_F(OwedBytesTest, UploadThatOwesFourBytesIsRefusedAndNotStored) {
    StartAndLogin();
    appliance_test::RawConnection connection(Server().HttpPort());
    ASSERT_TRUE(connection.Send(UploadRequest("four", "content", 4)));
    EXPECT_EQ(400, connection.ReadReply().status);
    EXPECT_EQ(21002u, Look("/four"));
}

}  // namespace
}  // namespace quillmark::testing
