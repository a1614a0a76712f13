// Deltas that the client waits for: sent to the server and applied there, and asked for against a base.
#include "integration/appliance/DeltaTest.h"

#include <array>

namespace appliance_test {

using nlohmann::json;

namespace {

constexpr std::string_view DeltaMagic = "rs\x02\x36";

// A large file, and the same one changed at the beginning, in the middle and at the end.
const std::string& OldContent() {
    static const std::string content = Noise(1'000'000);
    return content;
}

const std::string& NewContent() {
    static const std::string content =
        "a new beginning" + OldContent().substr(10, 499'990) + "the middle" + OldContent().substr(500'000) + "more";
    return content;
}

// A number as librsync's commands hold it: so many bytes, the highest first.
std::string BigEndian(std::uint64_t number, int bytes) {
    std::string text;
    for (int shift = (bytes - 1) * 8; shift >= 0; shift -= 8) {
        text += static_cast<char>(number >> shift);
    }
    return text;
}

// Commands of a delta, written by hand. Both say how much there is in eight bytes.
std::string Literal(std::uint64_t length, const std::string& bytes) {
    return '\x44' + BigEndian(length, 8) + bytes;
}

std::string Copy(std::uint64_t position, std::uint64_t length) {
    return '\x54' + BigEndian(position, 8) + BigEndian(length, 8);
}

std::string HandMade(const std::string& commands) {
    return std::string(DeltaMagic) + commands + '\0';
}

}  // namespace

class DeltaUploads : public DeltaTest {
protected:
    void SetUp() override {
        StartServer();
        Login();
    }

    void ExpectRefused(const CurlResult& result, int status, const std::string& errorId) {
        EXPECT_EQ(result.status, status) << result.body;
        EXPECT_EQ(result.Json()["errorId"], errorId) << result.body;
    }
};

TEST_F(DeltaUploads, StoreWhatTheDeltaMakesOfThePresentContent) {
    ASSERT_EQ(Upload("/f", OldContent()).status, 200);
    const std::string delta = DeltaBetween(OldContent(), NewContent());
    ASSERT_LT(delta.size(), OldContent().size() / 10);
    const CurlResult result = SendDelta("/f", delta, NewContent().size(),
                                        {"-F", "modification_time=2016-02-29T23:59:59.999Z", "-F",
                                         "creation_time=2015-03-01T10:20:30.123Z", "-F", "attributes=32"});
    ASSERT_EQ(result.status, 200) << result.body;
    const json item = result.Json();
    EXPECT_EQ(item["orca_path"], "/f");
    EXPECT_EQ(item["size"], NewContent().size());
    EXPECT_EQ(item["modification_time"], "2016-02-29T23:59:59.999Z");
    EXPECT_EQ(item["creation_time"], "2015-03-01T10:20:30.123Z");
    EXPECT_EQ(item["attributes"], 32);
    EXPECT_EQ(Curl({Url("/folders/f")}).Json(), item);
    EXPECT_TRUE(Download("/f").body == NewContent());
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaUploads, MayAskForTheOptimisationOfFilesThatWereAppendedTo) {
    ASSERT_EQ(Upload("/f", OldContent()).status, 200);
    const std::string longer = OldContent() + "more";
    const CurlResult result =
        SendDelta("/f?optimise_overwrite_append=true", DeltaBetween(OldContent(), longer), longer.size());
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_TRUE(Download("/f").body == longer);
}

TEST_F(DeltaUploads, FillAnEmptyFileAndEmptyAFullOne) {
    ASSERT_EQ(Upload("/f", "").status, 200);
    ASSERT_EQ(SendDelta("/f", DeltaBetween("", "content"), 7).status, 200);
    EXPECT_EQ(Download("/f").body, "content");
    ASSERT_EQ(SendDelta("/f", DeltaBetween("content", ""), 0).status, 200);
    EXPECT_EQ(Download("/f").body, "");
}

TEST_F(DeltaUploads, ForThePresentRevisionAreStored) {
    const auto revision = Upload("/f", "one").Json()["revision"].get<std::string>();
    const CurlResult result = SendDelta("/f", DeltaBetween("one", "two"), 3, {"-F", "revision=" + revision});
    ASSERT_EQ(result.status, 200) << result.body;
    EXPECT_NE(result.Json()["revision"], revision);
    EXPECT_EQ(Download("/f").body, "two");
}

TEST_F(DeltaUploads, OfAStaleRevisionAreRefusedWithTheItemAsItIs) {
    const auto stale = Upload("/f", "one").Json()["revision"].get<std::string>();
    const json current = Upload("/f", "two").Json();
    const CurlResult result = SendDelta("/f", DeltaBetween("one", "three"), 5, {"-F", "revision=" + stale});
    ExpectRefused(result, 409, "1077");
    EXPECT_EQ(result.Json()["document_info"], current);
    EXPECT_EQ(Download("/f").body, "two");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaUploads, NeedAFileThatIsThere) {
    MakeFolder("docs");
    const std::string delta = DeltaBetween("", "content");
    ExpectRefused(SendDelta("/missing", delta, 7), 404, "1002");
    ExpectRefused(SendDelta("/missing", delta, 7, {"-F", "revision=1"}), 404, "1002");
    ExpectRefused(SendDelta("/docs", delta, 7), 409, "1004");
    EXPECT_EQ(StatusOf("/missing"), 404);
    EXPECT_EQ(ContentFiles(), 0U);
}

TEST_F(DeltaUploads, NeedTheSizeAheadOfTheDelta) {
    ASSERT_EQ(Upload("/f", "one").status, 200);
    const std::string file = Server().Scratch("delta");
    WriteFile(file, DeltaBetween("one", "two"));
    ExpectRefused(Curl({"-F", "file=@" + file, Url("/delta/f")}), 400, "1001");
    ExpectRefused(Curl({"-F", "file=@" + file, "-F", "size=3", Url("/delta/f")}), 400, "1001");
    ExpectRefused(Curl({"-F", "size=3", Url("/delta/f")}), 400, "1001");
    ExpectRefused(SendDelta("/f", ReadFile(file), 3, {"-F", "attributes=x"}), 400, "1001");
    EXPECT_EQ(Download("/f").body, "one");
}

TEST_F(DeltaUploads, WhoseResultHasAnotherSizeStoreNothing) {
    ASSERT_EQ(Upload("/f", "one").status, 200);
    const std::string delta = DeltaBetween("one", "three");
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{4}, std::uint64_t{6}, ~std::uint64_t{0}}) {
        ExpectRefused(SendDelta("/f", delta, size), 400, "1020");
    }
    EXPECT_EQ(Download("/f").body, "one");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaUploads, ThatAreNoDeltasStoreNothing) {
    ASSERT_EQ(Upload("/f", "content").status, 200);
    const std::string good = DeltaBetween("content", "another content");
    const std::vector<std::string> broken{
        "",
        "r",
        "content",
        std::string(DeltaMagic),
        SignatureOf("content"),
        good.substr(0, good.size() - 1),
        good + "and more",
        HandMade("\xFF"),
        HandMade(Copy(0, 8)),
        HandMade(Copy(7, 1)),
        HandMade(Copy(0x7FFF'FFFF'FFFF'FFFF, 1)),
        HandMade(Copy(~std::uint64_t{0}, 1)),
        HandMade(Copy(0, ~std::uint64_t{0})),
        HandMade(Literal(~std::uint64_t{0}, "x")),
        HandMade(Literal(0x7FFF'FFFF'FFFF'FFFF, "x")),
    };
    for (const std::string& delta : broken) {
        const CurlResult result = SendDelta("/f", delta, 15);
        EXPECT_EQ(result.status, 400) << testing::PrintToString(delta);
        EXPECT_EQ(result.Json()["errorId"], "1001") << testing::PrintToString(delta) << result.body;
    }
    EXPECT_EQ(Download("/f").body, "content");
    EXPECT_EQ(ContentFiles(), 1U);
    EXPECT_EQ(Server().ErrorText(), "");
}

TEST_F(DeltaUploads, WrittenByHandAreUnderstood) {
    ASSERT_EQ(Upload("/f", "content").status, 200);
    const std::string delta = HandMade(Copy(3, 4) + Literal(1, "-") + Copy(0, 3));
    ASSERT_EQ(SendDelta("/f", delta, 8).status, 200);
    EXPECT_EQ(Download("/f").body, "tent-con");
}

TEST_F(DeltaUploads, ThatWouldGrowWithoutEndAreGivenUpAtTheirSize) {
    ASSERT_EQ(Upload("/f", Noise(100'000)).status, 200);
    // A megabyte of commands that make six gigabytes.
    std::string commands;
    for (int i = 0; i < 60'000; ++i) {
        commands += Copy(0, 100'000);
    }
    ExpectRefused(SendDelta("/f", HandMade(commands), 200'000), 400, "1020");
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaUploads, ThatDoNotFitIntoTheCapacityAreRefused) {
    StartServer({"--no-sync", "--capacity", "1000"});
    Login();
    ASSERT_EQ(Upload("/f", std::string(600, 'x')).status, 200);
    ExpectRefused(SendDelta("/f", HandMade(Copy(0, 600) + Copy(0, 401)), 1001), 507, "1507");
    ExpectRefused(SendDelta("/f", HandMade(Literal(1000, Noise(1000))), 1000), 507, "1507");
    EXPECT_EQ(SendDelta("/f", HandMade(Copy(0, 600) + Copy(0, 400)), 1000).status, 200);
}

TEST_F(DeltaUploads, WithoutAGoodSessionStoreNothing) {
    ASSERT_EQ(Upload("/f", "one").status, 200);
    const std::string file = Server().Scratch("delta");
    WriteFile(file, DeltaBetween("one", "two"));
    ExpectRefused(RunCurl({"-F", "size=3", "-F", "file=@" + file, Url("/delta/f")}), 401, "6");
    EXPECT_EQ(Download("/f").body, "one");
}

TEST_F(DeltaUploads, DamagedInAnyWayNeitherStopTheServerNorLeaveAnything) {
    const std::string content = Noise(20'000);
    ASSERT_EQ(Upload("/f", content).status, 200);
    const std::string good = DeltaBetween(content, Noise(500, 7) + content.substr(3000) + Noise(500, 8));
    RawConnection connection(Server().HttpPort());
    std::uint32_t random = 99;
    for (int round = 0; round < 400; ++round) {
        std::string delta = good;
        for (int i = 0; i < 1 + round % 5; ++i) {
            random = random * 1664525U + 1013904223U;
            // Half of them among the first bytes, where the commands are.
            const std::size_t range = round % 2 == 0 ? 40 : delta.size();
            delta[(random >> 8) % range] = static_cast<char>(random);
        }
        std::string body = UploadBody(delta, "18000");
        std::string request = MultipartRequest("/f", body, body.size() + 3);
        request.replace(request.find("/folders"), 8, "/delta");
        ASSERT_TRUE(connection.Send(request));
        const RawReply reply = connection.ReadReply();
        ASSERT_TRUE(reply.status == 200 || reply.status == 400) << reply.head << reply.body;
        if (reply.status == 200) {
            ASSERT_EQ(Upload("/f", content).status, 200);
        }
    }
    EXPECT_EQ(ContentFiles(), 1U);
    EXPECT_EQ(Server().ErrorText(), "");
}

class DeltaDownloads : public DeltaUploads {};

TEST_F(DeltaDownloads, AnswerASignatureWithADelta) {
    ASSERT_EQ(Upload("/f", NewContent()).status, 200);
    const CurlResult result = FetchDelta("/f", SignatureOf(OldContent()));
    ASSERT_EQ(result.status, 200);
    EXPECT_NE(result.headers.find("Content-Type: application/octet-stream"), std::string::npos);
    ASSERT_LT(result.body.size(), NewContent().size() / 10);
    EXPECT_TRUE(result.body.starts_with(DeltaMagic));
    EXPECT_TRUE(Patched(OldContent(), result.body) == NewContent());
    EXPECT_EQ(ContentFiles(), 1U);
}

TEST_F(DeltaDownloads, UnderstandEveryKindOfSignature) {
    ASSERT_EQ(Upload("/f", NewContent()).status, 200);
    const std::vector<std::vector<std::string>> kinds{
        {"-H", "md4", "-R", "rollsum"}, {"-H", "md4", "-R", "rabinkarp"},        {"-H", "blake2", "-R", "rollsum"},
        {"-H", "blake2", "-S", "8"},    {"-H", "blake2", "-b", "64", "-S", "8"}, {"-b", "300000"},
    };
    for (const auto& kind : kinds) {
        const CurlResult result = FetchDelta("/f", SignatureOf(OldContent(), kind));
        ASSERT_EQ(result.status, 200);
        EXPECT_TRUE(result.body.starts_with(DeltaMagic)) << testing::PrintToString(kind);
        EXPECT_TRUE(Patched(OldContent(), result.body) == NewContent()) << testing::PrintToString(kind);
    }
}

TEST_F(DeltaDownloads, AnswerTheSignatureOfNothingAndServeAnEmptyFile) {
    ASSERT_EQ(Upload("/f", "content").status, 200);
    EXPECT_EQ(Patched("", FetchDelta("/f", SignatureOf("")).body), "content");
    ASSERT_EQ(Upload("/f", "").status, 200);
    EXPECT_EQ(Patched("content", FetchDelta("/f", SignatureOf("content")).body), "");
}

TEST_F(DeltaDownloads, AnswerEveryOtherBaseWithTheContent) {
    ASSERT_EQ(Upload("/f", NewContent()).status, 200);
    const std::string signature = SignatureOf(OldContent());
    std::string longBlocks = signature;
    longBlocks.replace(4, 4, "\xFF\xFF\xFF\xFF");
    std::string noBlocks = signature;
    noBlocks.replace(4, 4, std::string(4, '\0'));
    std::string shortSums = signature;
    shortSums.replace(8, 4, std::string("\0\0\0\x01", 4));
    for (const std::string& base : {std::string(), std::string("rs"), OldContent(), longBlocks, noBlocks, shortSums,
                                    signature.substr(0, 4), signature.substr(0, signature.size() - 1)}) {
        const CurlResult result = FetchDelta("/f", base);
        ASSERT_EQ(result.status, 200);
        EXPECT_TRUE(result.body == NewContent()) << base.size();
    }
    EXPECT_EQ(ContentFiles(), 1U);
    EXPECT_EQ(Server().ErrorText(), "");
}

TEST_F(DeltaDownloads, AreNotStoppedByASignatureWhoseBlocksAllLookAlike) {
    ASSERT_EQ(Upload("/f", std::string(2'000'000, '\0')).status, 200);
    // One weak sum, that of a block of zeros, for two hundred thousand different blocks.
    std::string signature = SignatureOf(std::string(1024, '\0'), {"-b", "1024", "-S", "8"}).substr(0, 16);
    const std::string weak = signature.substr(12);
    signature.resize(12);
    for (std::uint64_t i = 1; i <= 200'000; ++i) {
        signature += weak + BigEndian(i, 8);
    }
    const CurlResult result = FetchDelta("/f", signature);
    ASSERT_EQ(result.status, 200);
    EXPECT_EQ(result.body.size(), 2'000'000U);
}

TEST_F(DeltaDownloads, OfARevisionThatIsNotThePresentOneAreRefused) {
    const auto stale = Upload("/f", "one").Json()["revision"].get<std::string>();
    const json current = Upload("/f", "two").Json();
    const auto revision = current["revision"].get<std::string>();
    EXPECT_EQ(FetchDelta("/f?revision=" + revision, "base").body, "two");
    EXPECT_EQ(FetchDelta("/f?revision=", "base").body, "two");
    const CurlResult result = FetchDelta("/f?revision=" + stale, "base");
    ExpectRefused(result, 409, "1077");
    EXPECT_EQ(result.Json()["document_info"], current);
}

TEST_F(DeltaDownloads, NeedAFileThatIsThere) {
    MakeFolder("docs");
    ExpectRefused(FetchDelta("/missing", "base"), 404, "1002");
    ExpectRefused(FetchDelta("/docs", "base"), 409, "1004");
    ExpectRefused(Curl({"-H", "Accept: application/octet-stream", "-F", "x=y", Url("/delta/docs")}), 400, "1001");
}

TEST_F(DeltaDownloads, WithDamagedSignaturesAreAnsweredAllTheSame) {
    const std::string content = Noise(50'000);
    ASSERT_EQ(Upload("/f", content).status, 200);
    const std::string good = SignatureOf(content.substr(1000), {"-b", "512", "-S", "8"});
    std::uint32_t random = 5;
    for (int round = 0; round < 60; ++round) {
        std::string signature = good;
        for (int i = 0; i < 1 + round % 4; ++i) {
            random = random * 1664525U + 1013904223U;
            const std::size_t range = round % 2 == 0 ? 12 : signature.size();
            signature[(random >> 8) % range] = static_cast<char>(random);
        }
        ASSERT_EQ(FetchDelta("/f", signature).status, 200) << round;
    }
    EXPECT_EQ(Server().ErrorText(), "");
}

TEST_F(DeltaDownloads, OtherMethodsAreUnknown) {
    ExpectRefused(Curl({Url("/delta/f")}), 405, "1041");
}

}  // namespace appliance_test
