#include "winhttp/UploadBody.h"

#include <algorithm>
#include <cstring>

namespace quillmark::platform::winhttp {

UploadBody::UploadBody(std::uint64_t announced, std::span<const BYTE> beginning)
    : announced_(announced), accepted_(beginning.size()), beginning_(beginning.begin(), beginning.end()) {}

void UploadBody::Append(std::span<const BYTE> bytes) {
    gathered_.reserve(kGather);
    gathered_.insert(gathered_.end(), bytes.begin(), bytes.end());
    accepted_ += bytes.size();
}

std::size_t UploadBody::Take(std::span<BYTE> room) {
    std::span<const BYTE> source;
    if (taken_ < beginning_.size()) {
        source = std::span(beginning_).subspan(static_cast<std::size_t>(taken_));
    } else {
        source = std::span(gathered_).subspan(gatheredTaken_);
    }
    const std::size_t count = std::min(room.size(), source.size());
    if (count == 0) {
        return 0;
    }
    std::memcpy(room.data(), source.data(), count);
    if (taken_ >= beginning_.size()) {
        gatheredTaken_ += count;
        if (gatheredTaken_ == gathered_.size()) {
            gathered_.clear();
            gatheredTaken_ = 0;
        }
    }
    taken_ += count;
    return count;
}

void UploadBody::Pay() {
    static constexpr BYTE kLineBreaks[kMostPaid] = {'\r', '\n', '\n'};
    Append(std::span(kLineBreaks).first(static_cast<std::size_t>(Owed())));
}

void UploadBody::Rewind() {
    taken_ = 0;
}

}  // namespace quillmark::platform::winhttp
