// A cancel event ends an operation wherever it blocks.
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "integration/cancel/CancelledOperation.h"
#include "integration/cancel/Connecting.h"
#include "integration/cancel/StalledServer.h"
#include "integration/support/TempFolder.h"

namespace quillmark::testing {
namespace {

constexpr const char* ItemPath = "/api/1.7/folders/item";

class CancelTest : public ::testing::Test {
protected:
    void Start(Stall stall) {
        m_server = std::make_unique<StalledServer>(std::move(stall));
        m_client = std::make_unique<HostClient>(m_server->Url());
    }
    void StartAndLogin(Stall stall) {
        Start(std::move(stall));
        ASSERT_EQ(0u, m_client->Login());
    }

    DWORD Look(HANDLE event) {
        std::shared_ptr<IServerAttributes> item;
        return Client()->GetPathAttributes(QM_W("/item"), item, event).error;
    }
    DWORD List(HANDLE event) {
        ItemList children;
        std::shared_ptr<IServerAttributes> self;
        return Client()->GetPathListing(QM_W("/item"), children, self, event).error;
    }
    DWORD Upload(std::uint64_t size, HANDLE event) {
        const WideString local = WritePatternAt(m_folder / "up", size);
        return Client()->UploadFile(local, QM_W("/item"), UploadAttributes(static_cast<std::int64_t>(size)), event,
                                    nullptr, 0);
    }
    DWORD Download(HANDLE event) {
        return Client()->DownloadFile(QM_W("/item"), WidenUtf8(m_folder / "down"), nullptr, MakeAttributes(), QM_W(""),
                                      event, nullptr, 0);
    }

    // The operation is held up by the server, cancelled there, and the same client goes on working.
    void CancelWhile(const std::string& phase, const CancelledOperation::Operation& operation) {
        CancelledOperation running(operation);
        ASSERT_TRUE(m_server->AwaitStall());
        running.CancelWhile(phase);
        const TestEvent event;
        EXPECT_EQ(0u, operation(event.Get())) << "the operation after the cancelled one";
    }

    HostClient& Client() { return *m_client; }

    TempFolder m_folder;

private:
    std::unique_ptr<StalledServer> m_server;
    std::unique_ptr<HostClient> m_client;
};

TEST_F(CancelTest, EndsDiscoveryThatWaitsForItsReply) {
    Start({.request = "GET /endpoints"});
    CancelWhile("discovery waits", [this](HANDLE event) {
        DWORD mode = 0;
        DWORD extra = 0;
        return Client()->Init(mode, extra, event);
    });
}

TEST_F(CancelTest, EndsALoginThatWaitsForItsReply) {
    Start({.request = "POST /api/1.7/sessions"});
    CancelWhile("login waits", [this](HANDLE event) {
        WideString policy;
        return Client()->Login(QM_W("anna"), QM_W("secret"), QM_W(""), QM_W("device"), policy, QM_W(""), QM_W(""),
                               event);
    });
}

TEST_F(CancelTest, EndsARequestThatWaitsForTheHead) {
    StartAndLogin({.request = std::string("GET ") + ItemPath});
    CancelWhile("waiting for the reply's head", [this](HANDLE event) { return Look(event); });
}

TEST_F(CancelTest, EndsARequestInTheMiddleOfTheHead) {
    StartAndLogin({.request = std::string("GET ") + ItemPath, .reply = "HTTP/1.1 200 OK\r\nContent-Le"});
    CancelWhile("reading the reply's head", [this](HANDLE event) { return Look(event); });
}

TEST_F(CancelTest, EndsAnUploadWhoseServerDoesNotRead) {
    StartAndLogin({.request = std::string("POST ") + ItemPath, .readsRequest = false});
    CancelWhile("sending", [this](HANDLE event) { return Upload(64u << 20, event); });
}

TEST_F(CancelTest, EndsAnUploadThatWaitsForItsReply) {
    StartAndLogin({.request = std::string("POST ") + ItemPath});
    CancelWhile("an upload waits", [this](HANDLE event) { return Upload(100'000, event); });
}

TEST_F(CancelTest, EndsAnUploadInTheMiddleOfItsReply) {
    StartAndLogin({.request = std::string("POST ") + ItemPath, .reply = BeginningOfReply(500, R"({"name":)")});
    CancelWhile("reading an upload's reply", [this](HANDLE event) { return Upload(100'000, event); });
}

TEST_F(CancelTest, EndsAListingInTheMiddle) {
    StartAndLogin({.request = std::string("GET ") + ItemPath,
                   .reply = BeginningOfReply(5'000'000, "{\"children\":[" + std::string(100'000, ' '))});
    CancelWhile("reading a listing", [this](HANDLE event) {
        const DWORD error = List(event);
        return error == 13 ? 0 : error;  // what the server answers afterwards is no folder
    });
}

TEST_F(CancelTest, EndsADownloadInTheMiddleOfTheFile) {
    StartAndLogin(
        {.request = std::string("GET ") + ItemPath, .reply = BeginningOfReply(1u << 30, std::string(3'000'000, 'x'))});
    CancelWhile("reading a download", [this](HANDLE event) { return Download(event); });
    EXPECT_EQ("content", ReadFileAt(m_folder / "down")) << "what the cancelled download wrote is gone";
}

TEST_F(CancelTest, EndsAConnectionThatNobodyTakes) {
    const test::BlackHole hole;
    const int before = Connecting(hole.Port());
    HostClient client("http://127.0.0.1:" + std::to_string(hole.Port()));
    CancelledOperation running([&client](HANDLE event) {
        DWORD mode = 0;
        DWORD extra = 0;
        return client->Init(mode, extra, event);
    });
    // A black hole tells nothing; the kernel's table shows when our connection waits as well.
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (Connecting(hole.Port()) == before && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    ASSERT_GT(Connecting(hole.Port()), before);
    running.CancelWhile("connecting");
}

}  // namespace
}  // namespace quillmark::testing
