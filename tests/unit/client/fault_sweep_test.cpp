// Each operation with its n-th transport call failing, for n = 1, 2, ... until the operation has none left to fail: it
// ends with a code, hands nothing back that is half done, keeps no request, and the next try succeeds.
#include <functional>

#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class FaultSweep : public ClientTest {
protected:
    // Calls whose results are values, not codes: failing them means nothing.
    static bool TellsAValue(const std::string& call) {
        return call.starts_with("Get") && !call.starts_with("GetResponse(");
    }

    void Sweep(const std::function<void()>& script, const std::function<DWORD()>& operation) {
        script();
        factory->ClearCalls();
        ASSERT_EQ(operation(), 0u);
        const Lines calls = factory->Calls();
        for (std::size_t n = 1; n <= calls.size(); ++n) {
            const std::string& call = calls[n - 1];
            if (TellsAValue(call) || call.starts_with("AddMultipartFormField(") || call.starts_with("EndMultipart(") ||
                call.starts_with("Close(") || call.starts_with("SetSessionToken(")) {
                continue;
            }
            script();
            factory->FailCall(static_cast<int>(n), 12030);
            const bool makesAnObject = call.starts_with("Create");
            EXPECT_EQ(operation(), makesAnObject ? static_cast<DWORD>(ERROR_INVALID_HANDLE) : 12030u) << call;
            EXPECT_EQ(fakes::RecordingFactory::LiveRequests(), 0) << call;
            factory->DropReplies();
        }
        script();
        EXPECT_EQ(operation(), 0u);
    }

    void SweepOperation(const std::function<DWORD()>& operation) {
        Discover();
        Sweep([] {}, operation);
    }

    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
};

TEST_F(FaultSweep, UploadFile) {
    SweepOperation([this] { return client->UploadFile(QM_W("f"), QM_W("/f"), attributes, nullptr, nullptr, 0); });
}

TEST_F(FaultSweep, DownloadFile) {
    SweepOperation([this] {
        return client->DownloadFile(QM_W("/f"), QM_W("f"), nullptr, attributes, QM_W(""), nullptr, nullptr, 0);
    });
}

TEST_F(FaultSweep, GetPathListing) {
    SweepOperation([this] {
        ItemList children;
        std::shared_ptr<IServerAttributes> self;
        return client->GetPathListing(QM_W("/f"), children, self, nullptr).error;
    });
}

TEST_F(FaultSweep, SetPathAttributes) {
    SweepOperation([this] { return client->SetPathAttributes(QM_W("/f"), attributes, nullptr).error; });
}

TEST_F(FaultSweep, CreateFolder) {
    SweepOperation([this] { return client->CreateFolder(QM_W("/f"), attributes, nullptr).error; });
}

TEST_F(FaultSweep, Version) {
    Discover();
    WideString version;
    Sweep([this] { factory->Reply(200, R"({"quillmark_version":"5"})"); }, [&] { return client->Version(version); });
}

TEST_F(FaultSweep, Login) {
    Discover();
    WideString policy;
    Sweep([this] { factory->Reply(200, R"({"session_token":"t"})"); },
          [&] {
              return client->Login(QM_W("u"), QM_W("p"), QM_W("t"), QM_W("d"), policy, QM_W("1"), QM_W("2"), nullptr);
          });
}

}  // namespace
}  // namespace quillmark::test
