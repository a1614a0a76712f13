// What the suites of deltas share: the rdiff command, which nobody here wrote, makes and applies them.
#pragma once

#include <cstdint>

#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

class DeltaTest : public ApplianceTest {
protected:
    // rdiff's three works, with contents as texts. A failure fails the test.
    [[nodiscard]] std::string SignatureOf(const std::string& content, const std::vector<std::string>& options = {});
    [[nodiscard]] std::string DeltaOf(const std::string& signature, const std::string& content);
    [[nodiscard]] std::string Patched(const std::string& base, const std::string& delta);
    // The delta between two contents.
    [[nodiscard]] std::string DeltaBetween(const std::string& from, const std::string& to);

    // POST API/delta<resource> with fields.
    [[nodiscard]] CurlResult SendDelta(const std::string& resource, const std::string& delta, std::uint64_t size,
                                       const std::vector<std::string>& extra = {});
    // POST API/delta<resource> for what can be made of this base.
    [[nodiscard]] CurlResult FetchDelta(const std::string& resource, const std::string& base);

    [[nodiscard]] std::size_t ContentFiles();

private:
    std::string Rdiff(const std::vector<std::string>& arguments);
};

// size bytes that do not repeat; other seeds give others.
std::string Noise(std::size_t size, std::uint32_t seed = 1);

}  // namespace appliance_test
