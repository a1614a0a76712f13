// What the suites of resumable uploads share: chunks as curl and as a bare socket send them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "integration/appliance/ApplianceTest.h"

namespace appliance_test {

// One chunk. What is not said is what a client would send with this content.
struct ChunkOf {
    std::uint64_t fileSize = 0;
    std::uint64_t offset = 0;
    std::string content = {};
    std::vector<std::string> headers = {};        // beyond those that follow from the above; they may replace them
    std::optional<std::uint64_t> blockSize = {};  // instead of the content's
    std::string path = "/f";
    std::string id = "0F8FAD5B-D9CB-469F-A165-70867728950E";
};

class ResumeTest : public ApplianceTest {
protected:
    [[nodiscard]] std::string UploadUrl(const ChunkOf& chunk = {}) const;
    // "qm_start" goes with offset 0, "qm_finish" with the end of the file.
    [[nodiscard]] CurlResult Send(const ChunkOf& chunk) const;
    // The same as a bare socket writes it; Content-Length says three bytes too many, as the library's does.
    [[nodiscard]] std::string RawChunk(const ChunkOf& chunk) const;
    // How far the upload has come.
    [[nodiscard]] CurlResult Ask(const ChunkOf& chunk = {}) const;
    // The answer's "bytes_received"; an error's number when there is none.
    [[nodiscard]] std::string Received(const ChunkOf& chunk = {}) const;
    [[nodiscard]] bool IsLocked(const ChunkOf& chunk = {}) const;
    [[nodiscard]] CurlResult Cancel(const ChunkOf& chunk = {}) const;
    [[nodiscard]] CurlResult Complete(const std::string& newPath, const ChunkOf& chunk = {}) const;

    // Files in the server's folder of contents, and the bytes in all of them.
    [[nodiscard]] std::size_t ContentFiles();
    [[nodiscard]] std::uintmax_t ContentBytes();
};

}  // namespace appliance_test
