// The boundary of operations: their scope and what becomes of exceptions.
#include "client/Boundary.h"

#include <stdexcept>

#include "client/Steps.h"
#include "unit/client/ClientTest.h"

namespace quillmark::test {
namespace {

class Boundary : public ::testing::Test {
protected:
    fakes::RecordedLog log;
};

TEST_F(Boundary, RecordsEntryAndStatus) {
    EXPECT_EQ(RunOperation("CNativeHttp::Some", [](const Logger&) -> DWORD { return 87; }), 87u);
    EXPECT_TRUE(log.Has(110, "NativeHttp", "CNativeHttp::Some", ""));
    EXPECT_TRUE(log.Has(104, "NativeHttp", "CNativeHttp::Some", "Exited [status=87]"));
}

TEST_F(Boundary, RecordsTheCodeOfAPair) {
    EXPECT_EQ(RunOperation("CNativeHttp::Some",
                           [](const Logger&) {
                               return StatusPair{20017, 2};
                           }),
              (StatusPair{20017, 2}));
    EXPECT_TRUE(log.Has(104, "NativeHttp", "CNativeHttp::Some", "Exited [status=20017]"));
}

TEST_F(Boundary, RecordsABareExitWithoutStatus) {
    RunOperation("CNativeHttp::Some", [](const Logger&) {});
    EXPECT_TRUE(RunOperation("CNativeHttp::Other", [](const Logger&) { return true; }));
    EXPECT_TRUE(log.Has(111, "NativeHttp", "CNativeHttp::Some", ""));
    EXPECT_TRUE(log.Has(111, "NativeHttp", "CNativeHttp::Other", ""));
    EXPECT_EQ(log.Texts(104), Lines{});
}

TEST_F(Boundary, RecordsTheLineOfTheOperation) {
    const std::uint32_t line = __LINE__ + 1;
    RunOperation("CNativeHttp::Some", [](const Logger&) {});
    EXPECT_EQ(log.Records()[0].line, line);
}

TEST_F(Boundary, MemoryExhaustionIs8) {
    EXPECT_EQ(RunOperation("CNativeHttp::Some", [](const Logger&) -> DWORD { throw std::bad_alloc(); }), 8u);
    EXPECT_TRUE(log.Has(104, "NativeHttp", "CNativeHttp::Some", "[EXCEPTION EXIT]"));
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Some",
                        "JSON library has thrown a bad_alloc exception (std::bad_alloc)!"));
    EXPECT_FALSE(log.Mentions("Exited"));
}

TEST_F(Boundary, ATextThatCannotBeAllocatedIs8) {
    EXPECT_EQ(RunOperation("CNativeHttp::Some", [](const Logger&) -> DWORD { throw WideString::OutOfMemory(); }), 8u);
}

TEST_F(Boundary, AnythingElseIs1359) {
    EXPECT_EQ(
        RunOperation("CNativeHttp::Some", [](const Logger&) -> StatusPair { throw std::logic_error("off by one"); }),
        (StatusPair{1359, 0}));
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Some", "Unknown exception"));
}

TEST_F(Boundary, AnExceptionWithoutAResultIsLogged) {
    RunOperation("CNativeHttp::Some", [](const Logger&) { throw 1; });
    EXPECT_FALSE(RunOperation("CNativeHttp::Other", [](const Logger&) -> bool { throw 1; }));
    ShieldOperation("CNativeHttp::Third", [] { throw 1; });
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Some", "Unknown exception"));
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Other", "Unknown exception"));
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::Third", "Unknown exception"));
}

class BoundaryOfOperations : public ClientTest {};

TEST_F(BoundaryOfOperations, AnExceptionOfTheJsonLibraryIs13) {
    Discover();
    factory->Reply(200, R"({"name":"a","directory":"true"})");
    std::shared_ptr<IServerAttributes> attributes;
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, nullptr), (StatusPair{13, 0}));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::GetPathAttributes", "[EXCEPTION EXIT]"));
    EXPECT_EQ(attributes, nullptr);
}

TEST_F(BoundaryOfOperations, AnExceptionOfTheTransportDoesNotComeOut) {
    Discover();
    factory->OnCall([](const std::string& call) {
        if (call.starts_with("CreateSession") || call.starts_with("CreateConnection")) {
            throw std::bad_alloc();
        }
    });
    std::shared_ptr<IServerAttributes> attributes;
    EXPECT_EQ(client->GetPathAttributes(QM_W("/a"), attributes, nullptr), (StatusPair{8, 0}));
    client->CreateNewSession(QM_W("t"));
    EXPECT_TRUE(log.Has(Critical, "NativeHttp", "CNativeHttp::CreateNewSession", "[EXCEPTION EXIT]"));
    factory->OnCall({});
}

}  // namespace
}  // namespace quillmark::test
