#include "integration/appliance/Curl.h"

#include <sstream>

#include "integration/appliance/Process.h"

namespace appliance_test {

namespace {

// Options that are needed for each transfer.
void AddTransferOptions(std::vector<std::string>& arguments, const TemporaryFolder& folder) {
    arguments.insert(arguments.end(),
                     {"-sS", "--noproxy", "*", "--max-time", "60", "-w", "%{http_code} %{num_connects}\n", "-o",
                      folder.Path("body"), "-D", folder.Path("headers")});
}

}  // namespace

CurlResult RunCurl(const std::vector<std::string>& arguments) {
    const TemporaryFolder folder;
    std::vector<std::string> all{"curl"};
    AddTransferOptions(all, folder);
    for (const std::string& argument : arguments) {
        all.push_back(argument);
        if (argument == "--next") {
            AddTransferOptions(all, folder);
        }
    }
    CurlResult result;
    result.exitCode = Process(all, folder.Path("output"), folder.Path("errors")).Wait();
    std::istringstream output(ReadFile(folder.Path("output")));
    for (int connects = 0; output >> result.status >> connects;) {
        result.connections += connects;
    }
    result.headers = ReadFile(folder.Path("headers"));
    result.body = ReadFile(folder.Path("body"));
    result.errors = ReadFile(folder.Path("errors"));
    return result;
}

}  // namespace appliance_test
