#include "integration/appliance/DeltaTest.h"

#include <filesystem>

namespace appliance_test {

std::string DeltaTest::Rdiff(const std::vector<std::string>& arguments) {
    const std::string result = Server().Scratch("rdiff-result");
    std::vector<std::string> command{"rdiff", "--force"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(result);
    const std::string errors = Server().Scratch("rdiff-errors");
    EXPECT_EQ(Process(command, "/dev/null", errors).Wait(), 0) << arguments[0] << ": " << ReadFile(errors);
    return ReadFile(result);
}

std::string DeltaTest::SignatureOf(const std::string& content, const std::vector<std::string>& options) {
    const std::string file = Server().Scratch("rdiff-content");
    WriteFile(file, content);
    std::vector<std::string> arguments = options;
    arguments.insert(arguments.end(), {"signature", file});
    return Rdiff(arguments);
}

std::string DeltaTest::DeltaOf(const std::string& signature, const std::string& content) {
    const std::string signatureFile = Server().Scratch("rdiff-signature");
    const std::string file = Server().Scratch("rdiff-content");
    WriteFile(signatureFile, signature);
    WriteFile(file, content);
    return Rdiff({"delta", signatureFile, file});
}

std::string DeltaTest::Patched(const std::string& base, const std::string& delta) {
    const std::string baseFile = Server().Scratch("rdiff-base");
    const std::string deltaFile = Server().Scratch("rdiff-delta");
    WriteFile(baseFile, base);
    WriteFile(deltaFile, delta);
    return Rdiff({"patch", baseFile, deltaFile});
}

std::string DeltaTest::DeltaBetween(const std::string& from, const std::string& to) {
    return DeltaOf(SignatureOf(from), to);
}

CurlResult DeltaTest::SendDelta(const std::string& resource, const std::string& delta, std::uint64_t size,
                                const std::vector<std::string>& extra) {
    const std::string file = Server().Scratch("delta");
    WriteFile(file, delta);
    std::vector<std::string> arguments{"-F", "size=" + std::to_string(size)};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    arguments.insert(arguments.end(), {"-F", "file=@" + file, Url("/delta" + resource)});
    return Curl(arguments);
}

CurlResult DeltaTest::FetchDelta(const std::string& resource, const std::string& base) {
    const std::string file = Server().Scratch("base");
    WriteFile(file, base);
    return Curl({"-H", "Accept: application/octet-stream", "-F", "file=@" + file, Url("/delta" + resource)});
}

std::size_t DeltaTest::ContentFiles() {
    const std::filesystem::directory_iterator folder(Server().DataFolder() + "/contents");
    return static_cast<std::size_t>(std::distance(begin(folder), end(folder)));
}

std::string Noise(std::size_t size, std::uint32_t seed) {
    std::string content(size, '\0');
    for (char& byte : content) {
        seed = seed * 1664525U + 1013904223U;
        byte = static_cast<char>(seed >> 24);
    }
    return content;
}

}  // namespace appliance_test
