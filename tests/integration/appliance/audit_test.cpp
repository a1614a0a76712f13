// The logging endpoint.
#include "integration/appliance/ApplianceTest.h"
#include "integration/appliance/Device.h"

namespace appliance_test {

using nlohmann::json;

class Audit : public ApplianceTest {
protected:
    void Begin(const std::vector<std::string>& options) {
        StartServer(options);
        m_ann.emplace(Server(), "d1");
    }

    Device& Ann() { return *m_ann; }
    // At the path that the endpoint list tells.
    CurlResult Publish(const std::string& form) { return Ann().Curl({"-d", form, Server().Http() + "/audit/1.0"}); }
    json Entries() { return RunCurl({Server().Http() + "/control/audit"}).Json()["audit"]; }

private:
    std::optional<Device> m_ann;
};

TEST_F(Audit, KeepsTheTextsAsTheyCame) {
    Begin({"--no-sync", "--audit"});
    EXPECT_EQ(Publish("data=%7B%22files%22%3A+3%7D%C3%A4&").status, 200);
    EXPECT_EQ(Publish("data=&").status, 200);
    json entries = Entries();
    ASSERT_EQ(entries.size(), 2U);
    EXPECT_EQ(entries[0]["user"], "ann");
    EXPECT_EQ(entries[0]["device"], "d1");
    EXPECT_EQ(entries[0]["data"], "{\"files\": 3}\xC3\xA4");
    EXPECT_EQ(entries[0]["time"].get<std::string>().back(), 'Z');
    EXPECT_EQ(entries[1]["data"], "");
}

TEST_F(Audit, TellsTheLastHundred) {
    Begin({"--no-sync", "--audit"});
    Publish("data=0");
    Server().Stop();
    ChangeRows(Server().DataFolder(),
               "WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 150)"
               " INSERT INTO audit (user, device, time, data) SELECT user, device, time, i FROM n JOIN audit"
               " ORDER BY i");
    Server().KillAndStartAgain();
    const json entries = Entries();
    ASSERT_EQ(entries.size(), 100U);
    EXPECT_EQ(entries.front()["data"], "51");
    EXPECT_EQ(entries.back()["data"], "150");
}

TEST_F(Audit, IsNotThereUnlessAskedFor) {
    Begin({"--no-sync"});
    ExpectError(Publish("data=x"), 404, "1040");
    EXPECT_EQ(Entries(), json::array());
}

TEST_F(Audit, RefusesFormsWithoutDataAndRequestsWithoutASession) {
    Begin({"--no-sync", "--audit"});
    ExpectError(Publish("text=x"), 400, "1001");
    ExpectError(RunCurl({"-d", "data=x", Server().Http() + "/audit/1.0"}), 401, "6");
    ExpectError(Ann().Curl({Server().Http() + "/audit/1.0"}), 405, "1041");
    ExpectError(RunCurl({"-d", "a=b", Server().Http() + "/control/audit"}), 405, "1041");
    EXPECT_EQ(Entries(), json::array());
}

TEST_F(Audit, SurvivesAKill) {
    Begin({"--audit"});
    ASSERT_EQ(Publish("data=kept").status, 200);
    Server().KillAndStartAgain();
    ASSERT_EQ(Entries().size(), 1U);
    EXPECT_EQ(Entries()[0]["data"], "kept");
}

}  // namespace appliance_test
