#include "transport/WinHttpHandle.h"

#include <cstdint>

#include "TransportTest.h"
#include "fakes/SlotIndex.h"

namespace quillmark {
namespace {

HINTERNET Number(std::intptr_t number) {
    return reinterpret_cast<HINTERNET>(number);
}

class WinHttpHandleTest : public TransportTest {
protected:
    WinHttpHandle handle;
};

TEST_F(WinHttpHandleTest, StartsWithoutAHandle) {
    EXPECT_EQ(handle.Handle(), nullptr);
}

TEST_F(WinHttpHandleTest, OwnsWhatIsAttached) {
    EXPECT_TRUE(handle.Attach(Number(5)));
    EXPECT_EQ(handle.Handle(), Number(5));
    EXPECT_EQ(winHttp->Calls(), Texts{});
    EXPECT_EQ(log.Texts(103), Texts{});
}

TEST_F(WinHttpHandleTest, AttachOfNullReportsThatNothingIsOwned) {
    EXPECT_FALSE(handle.Attach(nullptr));
}

TEST_F(WinHttpHandleTest, AttachOverAnOwnedHandleLogsAndClosesTheOldOne) {
    handle.Attach(Number(5));
    EXPECT_TRUE(handle.Attach(Number(6)));
    EXPECT_TRUE(LoggedError("WinHttpHandle::Attach", "Attach handle non-null"));
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpCloseHandle(h5)"});
    EXPECT_EQ(handle.Handle(), Number(6));
}

TEST_F(WinHttpHandleTest, AttachOfTheOwnedHandleLogsAndKeepsItOpen) {
    handle.Attach(Number(5));
    EXPECT_TRUE(handle.Attach(Number(5)));
    EXPECT_TRUE(log.Has(103, "Attach handle non-null"));
    EXPECT_EQ(winHttp->Calls(), Texts{});
    EXPECT_EQ(handle.Handle(), Number(5));
}

TEST_F(WinHttpHandleTest, AttachOfNullOverAnOwnedHandleClosesIt) {
    handle.Attach(Number(5));
    EXPECT_FALSE(handle.Attach(nullptr));
    EXPECT_TRUE(log.Has(103, "Attach handle non-null"));
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpCloseHandle(h5)"});
}

TEST_F(WinHttpHandleTest, SentinelIsOwnedAndReplacedWithoutBeingClosed) {
    EXPECT_TRUE(handle.Attach(Number(-3)));
    EXPECT_TRUE(handle.Attach(Number(6)));
    EXPECT_TRUE(log.Has(103, "Attach handle non-null"));
    EXPECT_EQ(winHttp->Calls(), Texts{});
}

TEST_F(WinHttpHandleTest, SentinelIsDroppedByCloseWithoutBeingClosed) {
    handle.Attach(Number(-3));
    handle.Close();
    EXPECT_EQ(handle.Handle(), nullptr);
    EXPECT_EQ(winHttp->Calls(), Texts{});
}

TEST_F(WinHttpHandleTest, OtherNegativeNumbersAreHandles) {
    handle.Attach(Number(-1));
    handle.Close();
    EXPECT_EQ(winHttp->Count("WinHttpCloseHandle"), 1u);
}

TEST_F(WinHttpHandleTest, CloseClosesOnceAndLeavesNull) {
    handle.Attach(Number(5));
    handle.Close();
    handle.Close();
    EXPECT_EQ(handle.Handle(), nullptr);
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpCloseHandle(h5)"});
}

TEST_F(WinHttpHandleTest, CloseIgnoresAFailureOfThePlatform) {
    winHttp->Fail("WinHttpCloseHandle", ERROR_INVALID_HANDLE);
    handle.Attach(Number(5));
    handle.Close();
    EXPECT_EQ(handle.Handle(), nullptr);
    EXPECT_EQ(log.Texts(103), Texts{});
}

TEST_F(WinHttpHandleTest, DestructionClosesTheHandle) {
    {
        WinHttpHandle local;
        local.Attach(Number(7));
    }
    EXPECT_EQ(winHttp->Calls(), Texts{"WinHttpCloseHandle(h7)"});
}

TEST_F(WinHttpHandleTest, ConstructionDestructionAndCloseAreScopes) {
    log.Clear();
    { WinHttpHandle local; }
    Texts scopes;
    for (const fakes::LogRecord& record : log.Records()) {
        scopes.push_back(std::to_string(record.descriptor.id) + " " + record.source + " " + record.function);
    }
    EXPECT_EQ(scopes,
              (Texts{"110 WinHttpImpl WinHttpHandle::WinHttpHandle", "111 WinHttpImpl WinHttpHandle::WinHttpHandle",
                     "110 WinHttpImpl WinHttpHandle::~WinHttpHandle", "110 WinHttpImpl WinHttpHandle::Close",
                     "111 WinHttpImpl WinHttpHandle::Close", "111 WinHttpImpl WinHttpHandle::~WinHttpHandle"}));
}

TEST_F(WinHttpHandleTest, CloseIsTheSlotBehindTheDestructor) {
    EXPECT_EQ(fakes::SlotOf(&WinHttpHandle::Close), 2u);
}

}  // namespace
}  // namespace quillmark
