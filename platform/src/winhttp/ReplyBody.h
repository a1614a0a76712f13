// The part of a reply's body that has arrived and was not read yet.
#pragma once

#include <cstring>
#include <span>
#include <vector>

#include "quillmark/platform/Types.h"

namespace quillmark::platform::winhttp {

class ReplyBody {
public:
    // More than this is not held: the server waits then.
    static constexpr std::size_t kLimit = 1024 * 1024;

    [[nodiscard]] std::size_t Available() const { return bytes_.size() - read_; }

    [[nodiscard]] bool HasRoomFor(std::size_t count) const { return Available() + count <= kLimit; }

    void Append(std::span<const BYTE> more) {
        if (read_ != 0) {
            bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(read_));
            read_ = 0;
        }
        bytes_.insert(bytes_.end(), more.begin(), more.end());
    }

    // Moves bytes out; returns how many.
    [[nodiscard]] std::size_t Read(std::span<BYTE> room) {
        const std::size_t count = room.size() < Available() ? room.size() : Available();
        if (count != 0) {
            std::memcpy(room.data(), bytes_.data() + read_, count);
            read_ += count;
        }
        if (read_ == bytes_.size()) {
            bytes_.clear();
            read_ = 0;
        }
        return count;
    }

private:
    std::vector<BYTE> bytes_;
    std::size_t read_ = 0;
};

}  // namespace quillmark::platform::winhttp
