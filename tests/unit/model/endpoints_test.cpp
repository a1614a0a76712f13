#include "model/Endpoints.h"

#include <gtest/gtest.h>

#include <string_view>

#include "fakes/RecordingEventing.h"
#include "unit/model/Reply.h"

namespace quillmark {
namespace {

struct Endpoints {
    bool readable = false;
    EndpointMap sync;
    EndpointMap logging;
};

Endpoints Read(std::string_view text) {
    Endpoints endpoints;
    endpoints.readable = GetEndpointsFromResponse(ReplyOf(text), endpoints.sync, endpoints.logging);
    return endpoints;
}

TEST(EndpointsTest, AreReadByVersionKey) {
    const Endpoints endpoints =
        Read(R"({"qm":{"sync":{"1":{"path":"/api","tos":7},"1.3":{"path":"/api/\u00e4","tos":-1}},
                                         "audit":{"1.0":{"path":"/audit","tos":0}}}})");
    ASSERT_TRUE(endpoints.readable);
    ASSERT_EQ(endpoints.sync.size(), 2u);
    EXPECT_EQ(endpoints.sync.at(QM_W("1")).path, QM_W("/api"));
    EXPECT_EQ(endpoints.sync.at(QM_W("1")).tos, 7);
    EXPECT_EQ(endpoints.sync.at(QM_W("1.3")).path, QM_W("/api/\u00e4"));
    EXPECT_EQ(endpoints.sync.at(QM_W("1.3")).tos, -1);
    ASSERT_EQ(endpoints.logging.size(), 1u);
    EXPECT_EQ(endpoints.logging.at(QM_W("1.0")).path, QM_W("/audit"));
}

TEST(EndpointsTest, AreLoggedInAScopeOfTheirOwn) {
    const fakes::RecordedLog log;
    EXPECT_TRUE(Read("{}").readable);
    const auto records = log.Records();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].descriptor.id, 110u);
    EXPECT_EQ(records[1].descriptor.id, 111u);
    EXPECT_EQ(records[0].source, "NativeHttp");
    EXPECT_EQ(records[0].function, "CNativeHttp::GetEndpointsFromResponse");
}

TEST(EndpointsTest, MissingListsAreEmpty) {
    for (const char* text : {"{}", R"({"qm":null})", R"({"qm":{}})", R"({"qm":{"sync":null}})",
                             R"({"qm":{"sync":{},"audit":{}}})", R"({"sync":{"1.0":{"path":"/api"}}})"}) {
        const Endpoints endpoints = Read(text);
        EXPECT_TRUE(endpoints.readable) << text;
        EXPECT_TRUE(endpoints.sync.empty()) << text;
        EXPECT_TRUE(endpoints.logging.empty()) << text;
    }
}

TEST(EndpointsTest, MissingAuditLeavesNoLoggingEndpoints) {
    const Endpoints endpoints = Read(R"({"qm":{"sync":{"1.0":{"path":"/api","tos":1}}}})");
    EXPECT_TRUE(endpoints.readable);
    EXPECT_EQ(endpoints.sync.size(), 1u);
    EXPECT_TRUE(endpoints.logging.empty());
}

TEST(EndpointsTest, MissingTosIsZero) {
    EXPECT_EQ(Read(R"({"qm":{"sync":{"1.0":{"path":"/api"}}}})").sync.at(QM_W("1.0")).tos, 0);
    EXPECT_EQ(Read(R"({"qm":{"sync":{"1.0":{"path":"/api","tos":null}}}})").sync.at(QM_W("1.0")).tos, 0);
}

TEST(EndpointsTest, EntriesWithoutAPathCountAsNone) {
    const Endpoints endpoints = Read(
        R"({"qm":{"sync":{"1.0":{"path":"","tos":1},"1.1":{"tos":1},"1.2":{"path":null},"1.3":null,"1.4":{"path":"/a"}}}})");
    EXPECT_TRUE(endpoints.readable);
    ASSERT_EQ(endpoints.sync.size(), 1u);
    EXPECT_EQ(endpoints.sync.begin()->first, QM_W("1.4"));
}

TEST(EndpointsTest, ReplaceWhatTheMapsHeld) {
    EndpointMap sync = {{QM_W("9"), {QM_W("/old"), 9}}};
    EndpointMap logging = sync;
    EXPECT_TRUE(GetEndpointsFromResponse(ReplyOf(R"({"qm":{"sync":{"1.0":{"path":"/new"}}}})"), sync, logging));
    EXPECT_EQ(sync.count(QM_W("9")), 0u);
    EXPECT_EQ(sync.count(QM_W("1.0")), 1u);
    EXPECT_TRUE(logging.empty());
}

TEST(EndpointsTest, ReplyThatIsNoJsonIsUnreadableAndLogged) {
    const fakes::RecordedLog log;
    EXPECT_FALSE(Read("<html>").readable);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::GetEndpointsFromResponse",
                        "Failed to parse JSON from server, parser error = [* Line 1, Column 1\n"
                        "  Syntax error: value, object or array expected.\n"
                        "* Line 1, Column 1\n"
                        "  A valid JSON document must be either an array or an object value.\n]"));
}

TEST(EndpointsTest, NullAndEmptyBuffersAreUnreadable) {
    EndpointMap sync;
    EndpointMap logging;
    EXPECT_FALSE(GetEndpointsFromResponse(ResponseBuffer(), sync, logging));
    EXPECT_FALSE(Read("").readable);
}

TEST(EndpointsTest, MembersOfAnotherTypeAreUnreadableAndLogged) {
    for (const char* text :
         {"[]", R"({"qm":[]})", R"({"qm":"x"})", R"({"qm":7})", R"({"qm":{"sync":[]}})", R"({"qm":{"sync":"x"}})",
          R"({"qm":{"audit":[1]}})", R"({"qm":{"sync":{"1.0":"/api"}}})", R"({"qm":{"sync":{"1.0":["/api"]}}})",
          R"({"qm":{"sync":{"1.0":{"path":{}}}}})", R"({"qm":{"sync":{"1.0":{"path":"/api","tos":"7"}}}})",
          R"({"qm":{"sync":{"1.0":{"path":"/api","tos":[]}}}})", R"({"qm":{"sync":{"1.0":{"path":"/a","tos":1e10}}}})",
          R"({"qm":{"sync":{"1.0":{"path":"/api","tos":-2147483649}}}})"}) {
        const fakes::RecordedLog log;
        EXPECT_FALSE(Read(text).readable) << text;
        EXPECT_EQ(log.Texts(103).size(), 1u) << text;
        EXPECT_TRUE(log.Mentions("JSON library has thrown a runtime_error exception (")) << text;
    }
}

TEST(EndpointsTest, NestingWithoutBoundsIsUnreadable) {
    const fakes::RecordedLog log;
    EXPECT_FALSE(Read(std::string(100000, '[')).readable);
    EXPECT_TRUE(log.Has(103, "NativeHttp", "CNativeHttp::GetEndpointsFromResponse",
                        "JSON library has thrown a runtime_error exception (Exceeded stackLimit in readValue().)!"));
}

}  // namespace
}  // namespace quillmark
