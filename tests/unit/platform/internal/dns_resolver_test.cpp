#include "dns/Resolver.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "unit/platform/internal/FakeNameServer.h"

namespace {

using namespace quillmark::platform;
using quillmark::test::Bytes;
using quillmark::test::DeadAddress;
using quillmark::test::FakeNameServer;
using quillmark::test::Reply;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using std::string_literals::operator""s;

const std::string AddressSection = "\xC0\x0C\x00\x01\x00\x01\x00\x00\x01\x2C\x00\x04\xC0\x00\x02\x07"s;
const std::string AddressRecord = "\xC0\x00\x02\x07"s;

std::vector<Bytes> GoodReply(const Bytes& question, bool) {
    return {Reply(question, 0x8180, 1, AddressSection)};
}

FakeNameServer::Script Refusing(std::uint16_t flags) {
    return [flags](const Bytes& question, bool) { return std::vector<Bytes>{Reply(question, flags, 0, "")}; };
}

std::vector<Bytes> Silence(const Bytes&, bool) {
    return {};
}

Answer Ask(std::vector<NameServer> servers, const std::string& name, unsigned budget = 2000,
           std::vector<std::string> searchList = {}) {
    return Resolver({.servers = std::move(servers),
                     .searchList = std::move(searchList),
                     .hostsPath = "",
                     .budgetMilliseconds = budget})
        .Query(name, DNS_TYPE_A, DNS_QUERY_BYPASS_CACHE);
}

// The name in a question, as text.
std::string NameIn(const Bytes& question) {
    std::string name;
    for (std::size_t at = 12; question[at] != 0; at += question[at] + 1u) {
        name += (name.empty() ? "" : ".") +
                std::string(question.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                            question.begin() + static_cast<std::ptrdiff_t>(at) + 1 + question[at]);
    }
    return name;
}

class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& content) {
        std::string path = (std::filesystem::temp_directory_path() / "quillmark-dns-XXXXXX").string();
        close(mkstemp(path.data()));
        m_path = path;
        std::ofstream(m_path) << content;
    }
    ~TemporaryFile() { std::filesystem::remove(m_path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    [[nodiscard]] const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

TEST(DnsResolverTest, BringsTheServersAnswer) {
    FakeNameServer server(GoodReply);
    const Answer answer = Ask({server.Address()}, "files.example");
    EXPECT_EQ(answer.status, 0);
    ASSERT_EQ(answer.records.size(), 1u);
    EXPECT_EQ(answer.records[0].data, AddressRecord);
    ASSERT_EQ(server.Questions().size(), 1u);
    EXPECT_EQ(NameIn(server.Questions()[0]), "files.example");
}

TEST(DnsResolverTest, NeverAsksForAddressesBadNamesAndLocalhost) {
    FakeNameServer server(GoodReply);
    EXPECT_EQ(Ask({server.Address()}, "").status, 123);
    EXPECT_EQ(Ask({server.Address()}, "10.0.0.1").status, 123);
    EXPECT_EQ(Ask({server.Address()}, "::1").status, 123);
    EXPECT_EQ(Ask({server.Address()}, "a b").status, 9560);
    EXPECT_EQ(Ask({server.Address()}, "localhost").records.at(0).data, "\x7F\x00\x00\x01"s);
    EXPECT_TRUE(server.Questions().empty());
}

TEST(DnsResolverTest, GivesUpOnASilentServerInItsTime) {
    FakeNameServer server(Silence);
    const auto start = steady_clock::now();
    EXPECT_EQ(Ask({server.Address()}, "files.example", 900).status, 1460);
    const auto took = steady_clock::now() - start;
    EXPECT_GE(took, milliseconds(900));
    EXPECT_LT(took, milliseconds(3000));
    // Once more after a while: datagrams get lost.
    EXPECT_GE(server.Questions().size(), 2u);
}

TEST(DnsResolverTest, TakesTwoSecondsAtMostUnlessToldOtherwise) {
    EXPECT_EQ(ResolverConfiguration().budgetMilliseconds, 2000u);
}

TEST(DnsResolverTest, AsksTheNextServerWhenTheFirstIsSilentOrDead) {
    FakeNameServer silent(Silence);
    FakeNameServer good(GoodReply);
    EXPECT_EQ(Ask({silent.Address(), good.Address()}, "files.example").status, 0);
    EXPECT_EQ(Ask({DeadAddress(), good.Address()}, "files.example").status, 0);
}

TEST(DnsResolverTest, AsksTheNextServerWhenOneFailsAndReportsTheLastFailure) {
    FakeNameServer failing(Refusing(0x8182));
    FakeNameServer refusing(Refusing(0x8185));
    FakeNameServer good(GoodReply);
    EXPECT_EQ(Ask({failing.Address(), good.Address()}, "files.example").status, 0);
    EXPECT_EQ(Ask({failing.Address(), refusing.Address()}, "files.example").status, 9005);
    EXPECT_EQ(Ask({failing.Address()}, "files.example").status, 9002);
}

TEST(DnsResolverTest, BelievesTheFirstServerThatThereIsNoSuchName) {
    FakeNameServer denying(Refusing(0x8183));
    FakeNameServer good(GoodReply);
    EXPECT_EQ(Ask({denying.Address(), good.Address()}, "files.example").status, 9003);
    EXPECT_TRUE(good.Questions().empty());
}

TEST(DnsResolverTest, ReportsThatNoServerCanBeReached) {
    const auto start = steady_clock::now();
    EXPECT_EQ(Ask({DeadAddress()}, "files.example").status, 9852);
    EXPECT_LT(steady_clock::now() - start, milliseconds(1900));
}

TEST(DnsResolverTest, IgnoresMessagesThatAnswerSomethingElse) {
    FakeNameServer server([](const Bytes& question, bool) {
        const Bytes good = Reply(question, 0x8180, 1, AddressSection);
        Bytes otherId = Reply(question, 0x8183, 0, "");
        otherId[0] ^= 0xFF;
        Bytes otherName = Reply(question, 0x8183, 0, "");
        otherName[13] = 'x';
        return std::vector<Bytes>{Bytes{}, Bytes{1, 2, 3}, otherId, otherName, question, good};
    });
    EXPECT_EQ(Ask({server.Address()}, "files.example").status, 0);
}

TEST(DnsResolverTest, AReplyThatCannotBeReadIsAFailureOfItsServer) {
    FakeNameServer broken(
        [](const Bytes& question, bool) { return std::vector<Bytes>{Reply(question, 0x8180, 9, "x")}; });
    FakeNameServer good(GoodReply);
    EXPECT_EQ(Ask({broken.Address()}, "files.example").status, 9502);
    EXPECT_EQ(Ask({broken.Address(), good.Address()}, "files.example").status, 0);
}

TEST(DnsResolverTest, FetchesACutAnswerOverTcp) {
    FakeNameServer server([](const Bytes& question, bool overTcp) {
        return overTcp ? GoodReply(question, true) : std::vector<Bytes>{Reply(question, 0x8380, 0, "")};
    });
    const Answer answer = Ask({server.Address()}, "files.example");
    EXPECT_EQ(answer.status, 0);
    EXPECT_EQ(answer.records.at(0).data, AddressRecord);
    ASSERT_EQ(server.Questions().size(), 2u);
    EXPECT_EQ(server.Questions()[0], server.Questions()[1]);
}

TEST(DnsResolverTest, AStallOverTcpDoesNotTakeLongerThanItsTime) {
    FakeNameServer server([](const Bytes& question, bool overTcp) {
        return overTcp ? std::vector<Bytes>() : std::vector<Bytes>{Reply(question, 0x8380, 0, "")};
    });
    const auto start = steady_clock::now();
    EXPECT_NE(Ask({server.Address()}, "files.example", 300).status, 0);
    EXPECT_LT(steady_clock::now() - start, milliseconds(3000));
}

TEST(DnsResolverTest, TriesNamesWithoutADotInTheSearchListFirst) {
    FakeNameServer server([](const Bytes& question, bool overTcp) {
        return NameIn(question) == "files" ? GoodReply(question, overTcp) : Refusing(0x8183)(question, overTcp);
    });
    EXPECT_EQ(Ask({server.Address()}, "files", 2000, {"one.example", "two.example"}).status, 0);
    std::vector<std::string> asked;
    for (const Bytes& question : server.Questions()) {
        asked.push_back(NameIn(question));
    }
    EXPECT_EQ(asked, (std::vector<std::string>{"files.one.example", "files.two.example", "files"}));
}

TEST(DnsResolverTest, LeavesCompleteNamesAsTheyAre) {
    FakeNameServer server(Refusing(0x8183));
    EXPECT_EQ(Ask({server.Address()}, "files.", 2000, {"one.example"}).status, 9003);
    EXPECT_EQ(Ask({server.Address()}, "a.b", 2000, {"one.example"}).status, 9003);
    ASSERT_EQ(server.Questions().size(), 2u);
    EXPECT_EQ(NameIn(server.Questions()[0]), "files");
    EXPECT_EQ(NameIn(server.Questions()[1]), "a.b");
}

TEST(DnsResolverTest, AnswersFromTheHostsFileUnlessToldNotTo) {
    const TemporaryFile hosts(
        "# 192.0.2.9 commented\n"
        "192.0.2.1 Files.Example files # first\n"
        "2001:db8::5 six\n"
        "nonsense files\n"
        "192.0.2.2\tother files\n");
    FakeNameServer server(GoodReply);
    const Resolver resolver({.servers = {server.Address()}, .searchList = {}, .hostsPath = hosts.Path()});
    const Answer both = resolver.Query("FILES", DNS_TYPE_A, 8);
    EXPECT_EQ(both.status, 0);
    ASSERT_EQ(both.records.size(), 2u);
    EXPECT_EQ(both.records[0].data, "\xC0\x00\x02\x01"s);
    EXPECT_EQ(both.records[1].data, "\xC0\x00\x02\x02"s);
    EXPECT_EQ(resolver.Query("six", DNS_TYPE_A, 8).status, 9501);
    EXPECT_EQ(resolver.Query("six", DNS_TYPE_AAAA, 8).records.at(0).data,
              "\x20\x01\x0D\xB8\0\0\0\0\0\0\0\0\0\0\0\x05"s);
    EXPECT_TRUE(server.Questions().empty());
    EXPECT_EQ(resolver.Query("commented", DNS_TYPE_A, 8).records.at(0).data, AddressRecord);
    EXPECT_EQ(resolver.Query("files", DNS_TYPE_A, DNS_QUERY_NO_HOSTS_FILE).records.at(0).data, AddressRecord);
    EXPECT_EQ(server.Questions().size(), 2u);
}

TEST(DnsResolverTest, ReadsTheMachinesConfiguration) {
    const TemporaryFile file(
        "# comment\n"
        "domain first.example\n"
        "nameserver 192.0.2.53\n"
        "nameserver not-an-address\n"
        "nameserver\n"
        "nameserver 2001:db8::53\n"
        "search one.example two.example\n"
        "options timeout:30\n"
        "nameserver 192.0.2.54\n"
        "nameserver 192.0.2.55\n");
    const ResolverConfiguration configuration = ReadResolverConfiguration(file.Path(), "/hosts");
    ASSERT_EQ(configuration.servers.size(), 3u);
    const auto* first = reinterpret_cast<const sockaddr_in*>(&configuration.servers[0].address);
    EXPECT_EQ(first->sin_family, AF_INET);
    EXPECT_EQ(ntohs(first->sin_port), 53);
    EXPECT_EQ(ntohl(first->sin_addr.s_addr), 0xC0000235u);
    EXPECT_EQ(configuration.servers[1].address.ss_family, AF_INET6);
    EXPECT_EQ(configuration.searchList, (std::vector<std::string>{"one.example", "two.example"}));
    EXPECT_EQ(configuration.hostsPath, "/hosts");
}

TEST(DnsResolverTest, AsksThisMachineWhenNoServerIsConfigured) {
    const ResolverConfiguration configuration = ReadResolverConfiguration("/nowhere/resolv.conf", "");
    ASSERT_EQ(configuration.servers.size(), 1u);
    const auto* server = reinterpret_cast<const sockaddr_in*>(&configuration.servers[0].address);
    EXPECT_EQ(ntohl(server->sin_addr.s_addr), 0x7F000001u);
}

TEST(DnsResolverTest, ServesManyThreadsAtOnce) {
    FakeNameServer server(GoodReply);
    const Resolver resolver({.servers = {server.Address()}, .searchList = {}, .hostsPath = ""});
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 50; ++j) {
                EXPECT_EQ(resolver.Query("files.example", DNS_TYPE_A, 8).status, 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace
