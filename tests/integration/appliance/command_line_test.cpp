// Starting the server: what it prints, writes and refuses.
#include "integration/appliance/ApplianceTest.h"

#include <sys/stat.h>

#include <algorithm>

namespace appliance_test {

class ServerCommandLine : public ApplianceTest {
protected:
    struct Result {
        int exitCode;
        std::string output;
        std::string errors;
    };

    Result Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), APPLIANCE_PROGRAM);
        const int exitCode = Process(arguments, m_folder.Path("output"), m_folder.Path("errors")).Wait();
        return {exitCode, ReadFile(m_folder.Path("output")), ReadFile(m_folder.Path("errors"))};
    }

    TemporaryFolder m_folder;
};

TEST_F(ServerCommandLine, AnnouncesItsAddressesOnTheFirstLineAndInThePortFile) {
    StartServer();
    const std::string http = Server().Http().substr(7);
    const std::string https = Server().Https().substr(8);
    EXPECT_EQ(Server().ReadyLine(), "quillmark-appliance ready http=" + http + " https=" + https);
    EXPECT_EQ(ReadFile(Server().Scratch("ports")), "http=" + http + "\nhttps=" + https + "\n");
    EXPECT_NE(Server().HttpPort(), 0);
    EXPECT_NE(Server().HttpsPort(), Server().HttpPort());
}

TEST_F(ServerCommandLine, ExplainsItselfWithExamples) {
    const Result result = Run({"--help"});
    EXPECT_EQ(result.exitCode, 0);
    for (const std::string text :
         {"--listen ADDR:PORT", "--tls-listen ADDR:PORT", "--user NAME:PASSWORD", "--data FOLDER", "--faults",
          "--identity-header HEADER", "--mapping NAME[;SETTING]...", "limit=BYTES",
          "Examples:", "curl -b session_token=TOKEN"}) {
        EXPECT_NE(result.output.find(text), std::string::npos) << text;
    }
}

TEST_F(ServerCommandLine, RefusesOptionsThatMakeNoSense) {
    const std::string data = m_folder.Path("data");
    const std::vector<std::vector<std::string>> wrong{
        {},
        {"--data", data},
        {"--listen", "127.0.0.1:0"},
        {"--data", data, "--listen", "127.0.0.1"},
        {"--data", data, "--listen", ":0"},
        {"--data", data, "--listen", "127.0.0.1:65536"},
        {"--data", data, "--listen", "127.0.0.1:0", "--user", "ann"},
        {"--data", data, "--listen", "127.0.0.1:0", "--user", ":x"},
        {"--data", data, "--listen", "127.0.0.1:0", "--cert", "x"},
        {"--data", data, "--listen", "127.0.0.1:0", "--faults"},
        {"--data", data, "--listen", "127.0.0.1:0", "--control", "x"},
        {"--data", data, "--listen", "127.0.0.1:0", "--api", "1.7=x"},
        {"--data", data, "--listen", "127.0.0.1:0", "--threads", "0"},
        {"--data", data, "--listen", "127.0.0.1:0", "--users-file", m_folder.Path("missing")},
        {"--nonsense"},
    };
    for (const auto& arguments : wrong) {
        const Result result = Run(arguments);
        EXPECT_NE(result.exitCode, 0) << testing::PrintToString(arguments);
        EXPECT_NE(result.errors, "") << testing::PrintToString(arguments);
        EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
    }
}

TEST_F(ServerCommandLine, RefusesToStartWithoutUsers) {
    const Result result = Run({"--data", m_folder.Path("data"), "--listen", "127.0.0.1:0"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "quillmark-appliance: there are no users yet: add some with --user or --users-file\n");
}

TEST_F(ServerCommandLine, RefusesADataFolderThatIsInUse) {
    StartServer();
    const Result result = Run({"--data", Server().DataFolder(), "--listen", "127.0.0.1:0", "--user", "a:b"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors,
              "quillmark-appliance: another server uses the data folder " + Server().DataFolder() + "\n");
}

TEST_F(ServerCommandLine, RefusesAnAddressThatIsTaken) {
    StartServer();
    const std::string address = "127.0.0.1:" + std::to_string(Server().HttpPort());
    const Result result = Run({"--data", m_folder.Path("data"), "--listen", address, "--user", "a:b"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "quillmark-appliance: cannot listen on " + address + ": Address already in use\n");
}

TEST_F(ServerCommandLine, MakesCertificatesOnceAndKeepsTheKeyToItself) {
    ASSERT_EQ(Run({"--make-certificate", m_folder.Path("tls")}).exitCode, 0);
    const std::string key = ReadFile(m_folder.Path("tls/server.key"));
    EXPECT_NE(key, "");
    struct stat status {};
    ASSERT_EQ(::stat(m_folder.Path("tls/server.key").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    ASSERT_EQ(Run({"--make-certificate", m_folder.Path("tls")}).exitCode, 0);
    EXPECT_EQ(ReadFile(m_folder.Path("tls/server.key")), key);
}

TEST_F(ServerCommandLine, HashesPasswordsWithASaltEachTime) {
    const std::string first = Run({"--hash-password"}).output;
    const std::string second = Run({"--hash-password"}).output;
    EXPECT_TRUE(first.starts_with("scrypt$16384$8$1$")) << first;
    EXPECT_NE(first, second);
}

TEST_F(ServerCommandLine, ListensOnSeveralAddresses) {
    StartServer({"--no-sync", "--listen", "127.0.0.1:0"});
    const std::string line = Server().ReadyLine();
    EXPECT_EQ(std::count(line.begin(), line.end(), '='), 3) << line;
}

}  // namespace appliance_test
