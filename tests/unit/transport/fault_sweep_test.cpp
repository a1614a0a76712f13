// Every road of a request with its n-th call of a seam failing, for each n: the code is the one of the failing call,
// nothing hangs, no handle and no file stays open.
#include <algorithm>
#include <functional>

#include "TransportTest.h"

namespace quillmark {
namespace {

constexpr DWORD Injected = 12345;

class FaultSweepTest : public TransportTest {
protected:
    using Road = std::function<DWORD()>;

    // Runs the road with the n-th call of the seam failing, until a run has fewer calls. Each run gives the injected
    // code, but for the calls that are named: their failure is no failure of the request. Returns how many runs failed.
    int Sweep(fakes::CallRecorder& seam, const Road& road, const Texts& harmless) {
        for (int n = 1;; ++n) {
            Open(QM_W("t0ken"));
            files->Put(QM_W("/f"), std::string(20000, 'x'));
            winHttp->reply = {.status = "200", .contentLength = "5", .rounds = {{3, "abc"}, {2, "de"}}};
            seam.ClearCalls();
            seam.FailCall(n, Injected);
            const DWORD result = road();
            const Texts calls = seam.Calls();
            EXPECT_EQ(files->OpenFiles(), 0u) << n;
            request.reset();
            connection.reset();
            session.reset();
            EXPECT_EQ(winHttp->OpenHandles(), 0u) << n;
            if (calls.size() < static_cast<std::size_t>(n)) {
                EXPECT_EQ(result, 0u);
                return n - 1;
            }
            const std::string failed = calls[static_cast<std::size_t>(n) - 1];
            const std::string function = failed.substr(0, failed.find('('));
            const bool isHarmless = std::ranges::find(harmless, function) != harmless.end();
            EXPECT_EQ(result, isHarmless ? 0 : Injected) << failed;
        }
    }

    DWORD Upload() {
        std::uint64_t part = 0;
        DWORD error = request->SendMultipartFile("file", QM_W("/f"), QM_W("f"), nullptr, &part, nullptr, 0);
        const std::function<DWORD()> steps[] = {
            [&] { return request->AddMultipartHeaders(true); },
            [&] { return request->StartRequest(part + request->GetMultipartEndLength()); },
            [&] { return request->SendMultipartFile("file", QM_W("/f"), QM_W("f"), nullptr, nullptr, nullptr, 0); },
            [&] {
                request->EndMultipart();
                return request->SendPostData();
            },
            [&] { return request->ReceiveResponse(response); }};
        for (const auto& step : steps) {
            error = error != 0 ? error : step();
        }
        return error;
    }

    DWORD Download() { return request->SendRequestGetResponse(QM_W("/down"), 0, nullptr, nullptr, false, 0); }
};

TEST_F(FaultSweepTest, Get) {
    EXPECT_EQ(Sweep(*winHttp, [this] { return request->GetResponse(response); }, {}), 11);
}

TEST_F(FaultSweepTest, Initialise) {
    const int runs = Sweep(*winHttp,
                           [this] {
                               const auto other = WinHttpFactory().CreateRequest(session);
                               return other->Initialise(QM_W("/x"), QM_W("GET"), connection, nullptr, 0, true);
                           },
                           {"WinHttpSetOption", "WinHttpSetCredentials", "WinHttpCloseHandle"});
    EXPECT_EQ(runs, 4);
}

TEST_F(FaultSweepTest, UploadAtTheTransport) {
    // Two headers, the cookie, the head; 60, disposition, 42, 16384, 3616, 2, 62; and the reply's eight
    EXPECT_EQ(Sweep(*winHttp, [this] { return Upload(); }, {}), 4 + 7 + 8);
}

TEST_F(FaultSweepTest, UploadAtTheFile) {
    // Twice open, size and close to measure, once before the bytes; then open, size, seek, two reads, size, close. A
    // failed read leaves the body short, which is the server's to reject.
    EXPECT_EQ(Sweep(*files, [this] { return Upload(); }, {"ReadFile", "CloseHandle"}), 3 + 3 + 3 + 7);
}

TEST_F(FaultSweepTest, DownloadAtTheTransport) {
    EXPECT_EQ(Sweep(*winHttp, [this] { return Download(); }, {}), 11);
}

TEST_F(FaultSweepTest, DownloadAtTheFile) {
    EXPECT_EQ(Sweep(*files, [this] { return Download(); }, {"CloseHandle"}), 4);
}

// The cancel event set during the n-th call.
class CancelSweepTest : public TransportTest {
protected:
    void SetAt(fakes::CallRecorder& seam, int n) {
        m_event = std::make_unique<Event>();
        seam.OnCall([this, n, calls = 0](const std::string&) mutable {
            if (++calls == n) {
                m_event->Set();
            }
        });
    }

    std::unique_ptr<Event> m_event;
};

TEST_F(CancelSweepTest, AFilePartEndsWith1223) {
    Open();
    files->Put(QM_W("/f"), std::string(20000, 'x'));
    // Three writes of the head, two chunks, the line break.
    for (int n = 1; n <= 6; ++n) {
        SetAt(*winHttp, n);
        EXPECT_EQ(
            request->SendMultipartFile("file", QM_W("/f"), QM_W("f"), 0, 20000, m_event->Get(), nullptr, nullptr, 0),
            1223u)
            << n;
        EXPECT_EQ(files->OpenFiles(), 0u);
    }
}

TEST_F(CancelSweepTest, ADownloadEndsWith1223UnlessItsLastByteIsThere) {
    Open();
    // The head and its two queries, then two rounds of two calls, then the call that finds nothing more.
    for (int n = 1; n <= 8; ++n) {
        winHttp->reply = {.status = "200", .contentLength = "5", .rounds = {{3, "abc"}, {2, "de"}}};
        SetAt(*winHttp, n);
        EXPECT_EQ(request->GetResponse(QM_W("/f"), 0, m_event->Get(), nullptr, false, 0), n <= 7 ? 1223u : 0u) << n;
        EXPECT_EQ(files->Contents(QM_W("/f")), n <= 5 ? "abc" : "abcde");
        EXPECT_EQ(files->OpenFiles(), 0u);
    }
}

}  // namespace
}  // namespace quillmark
