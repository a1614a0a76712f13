#include "integration/client/ClientTest.h"

#include <cstdlib>

namespace quillmark::testing {

std::shared_ptr<IProgressSink> OnceAt(std::uint64_t position, std::function<void()> action) {
    return std::make_shared<OnProgress>(
        [position, action = std::move(action), done = false](std::uint64_t reached) mutable {
            if (!done && reached >= position) {
                done = true;
                action();
            }
        });
}

void ClientTest::Start(std::vector<std::string> options, bool secure) {
    m_server.emplace(std::move(options));
    ::setenv("SSL_CERT_FILE", m_server->AuthorityFile().c_str(), 1);
    m_client.emplace(secure ? m_server->HttpsUrl() : m_server->HttpUrl());
}

void ClientTest::StartAndLogin(std::vector<std::string> options, bool secure) {
    Start(std::move(options), secure);
    ASSERT_EQ(0u, m_client->Login());
}

DWORD ClientTest::Upload(const std::string& serverPath, const std::string& content, const Attributes& attributes,
                         HANDLE cancelEvent, const std::shared_ptr<IProgressSink>& progress) {
    return Client()->UploadFile(WriteFileAt(LocalPath("to-upload"), content), WidenUtf8(serverPath), attributes,
                                cancelEvent, progress, 0);
}

DWORD ClientTest::Upload(const std::string& serverPath, const std::string& content) {
    return Upload(serverPath, content, UploadAttributes(static_cast<std::int64_t>(content.size())));
}

std::string ClientTest::ContentOf(const std::string& serverPath) {
    const std::string local = LocalPath("downloaded");
    EXPECT_EQ(0u, Client()->DownloadFile(WidenUtf8(serverPath), WidenUtf8(local), nullptr, MakeAttributes(), QM_W(""),
                                         nullptr, nullptr, 0))
        << serverPath;
    return ReadFileAt(local);
}

DWORD ClientTest::MakeFolder(const std::string& serverPath) {
    Attributes attributes;
    return Client()->CreateFolder(WidenUtf8(serverPath), attributes, nullptr).error;
}

DWORD ClientTest::Look(const std::string& serverPath, Attributes* attributes) {
    Attributes record;
    const DWORD error = Client()->GetPathAttributes(WidenUtf8(serverPath), record, nullptr).error;
    if (attributes != nullptr) {
        *attributes = record;
    }
    return error;
}

std::string ClientTest::Token() {
    WideString token;
    Client()->GetSessionToken(token);
    return NarrowUtf8(token);
}

std::string Pattern(std::size_t size) {
    std::string content(size, '\0');
    std::uint32_t state = 12345;
    for (char& byte : content) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return content;
}

}  // namespace quillmark::testing
