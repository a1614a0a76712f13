// Every operation that sends something, with the replies that bring it to its end: what suites go through that hold for
// all of them.
#pragma once

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "unit/client/ClientTest.h"

namespace quillmark::test {

struct Operation {
    const char* name;
    std::function<void(fakes::RecordingFactory&)> script;
    // With a record that it may fill, and the event.
    std::function<DWORD(CNativeHttp&, const std::shared_ptr<IServerAttributes>&, HANDLE)> run;
    std::set<int> unchecked = {};  // the calls whose failure does not change the result, counted from 1
    DWORD result = 0;
    std::set<DWORD> whenUnread = {};  // what else it ends with when its reply cannot be read
    bool takesEvent = true;
    bool onNewClient = false;  // the client keeps what it found
};

[[nodiscard]] const std::vector<Operation>& AllOperations();

// The name, in the messages and in the names of tests.
void PrintTo(const Operation& operation, std::ostream* stream);
[[nodiscard]] std::string OperationName(const ::testing::TestParamInfo<Operation>& instance);

class OperationTest : public ClientTest, public ::testing::WithParamInterface<Operation> {
protected:
    void SetUp() override;
    void TearDown() override { factory->OnCall({}); }

    // Everything as it was before the operation ran first.
    void Prepare();
    DWORD Run(HANDLE cancelEvent = nullptr) { return GetParam().run(*client, record, cancelEvent); }

    std::shared_ptr<IServerAttributes> attributes = MakeAttributes();
    std::shared_ptr<IServerAttributes> record;
};

}  // namespace quillmark::test
