// The curl command: a client that nobody here wrote.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace appliance_test {

struct CurlResult {
    int exitCode = 0;
    int status = 0;       // of the last transfer; 0 when there was none
    int connections = 0;  // opened over all transfers
    std::string headers;
    std::string body;
    std::string errors;

    [[nodiscard]] nlohmann::json Json() const { return nlohmann::json::parse(body, nullptr, false); }
};

// Runs it with these arguments; several transfers may be joined by "--next".
CurlResult RunCurl(const std::vector<std::string>& arguments);

}  // namespace appliance_test
