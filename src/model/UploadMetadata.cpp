#include "model/UploadMetadata.h"

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "model/JsonReader.h"

namespace quillmark {
namespace {

bool ReadOffset(const Logger& log, const Json::Value& received, std::int64_t& offset) {
    if (!received.isString()) {
        return false;
    }
    const std::string text = received.asString();
    errno = 0;
    // What atoll reads, but defined, and with errno set, for a number that is too long as well.
    const long long number = std::strtoll(text.c_str(), nullptr, 10);
    if (errno != 0) {
        log.Error("Failed to get offset, errno was %d", static_cast<std::int32_t>(errno));
        return false;
    }
    offset = number;
    log.Information("Got offset %lld", offset);
    return true;
}

}  // namespace

bool GetMetaDataFromResponse(const ResponseBuffer& reply, std::int64_t& offset, bool& locked) {
    constexpr Logger log("CNativeHttp::GetMetaDataFromResponse", LogSource::NativeHttp);
    Json::Value root;
    if (!ParseJSONFromServer(reply, JSONComments::Skip, log, root)) {
        return false;
    }
    const bool read = ReadOffset(log, std::as_const(root)["bytes_received"], offset);
    const Json::Value& lockState = std::as_const(root)["is_locked"];
    if (lockState.isString()) {
        locked = lockState.asString() == "true";
        log.Information("Got locked %d", locked ? 1 : 0);
    }
    return read;
}

}  // namespace quillmark
