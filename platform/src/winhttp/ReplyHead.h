// The head of a reply as its lines arrive: interim heads are forgotten, the final one is kept for queries.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "winhttp/RequestHeaders.h"

namespace quillmark::platform::winhttp {

class ReplyHead {
public:
    // A head for a request with that verb, of at most that many bytes, interim heads included.
    ReplyHead(std::string_view verb, std::size_t limit) : toHead_(verb == "HEAD"), limit_(limit) {}

    // The next line, with its line break. False when the limit is passed. Lines after the final head (trailers) are
    // not part of it.
    [[nodiscard]] bool TakeLine(std::string_view line);

    // True from the blank line of the final head on.
    [[nodiscard]] bool IsFinal() const { return final_; }

    // Any byte of a reply was there.
    [[nodiscard]] bool HasBegun() const { return size_ != 0; }

    // The rest is defined once the head is final.
    [[nodiscard]] int Status() const { return status_; }
    [[nodiscard]] const std::string& StatusText() const { return statusText_; }
    [[nodiscard]] const std::string& Version() const { return version_; }
    [[nodiscard]] const std::string& StatusLine() const { return statusLine_; }
    [[nodiscard]] const std::vector<HeaderField>& Fields() const { return fields_; }

    // The value of the first header of that name, or null.
    [[nodiscard]] const std::string* Find(std::string_view name) const;

    // How many bytes of body follow, when the head tells: 0 for replies that have no body at all.
    [[nodiscard]] std::optional<std::uint64_t> BodyLength() const;

    // Whether the server closes the connection after this reply.
    [[nodiscard]] bool ClosesConnection() const;

private:
    void TakeStatusLine(std::string_view line);
    [[nodiscard]] bool HasNoBody() const { return toHead_ || status_ == 204 || status_ == 304; }
    [[nodiscard]] bool HasTokenIn(std::string_view name, std::string_view token) const;

    bool toHead_;
    std::size_t limit_;
    std::size_t size_ = 0;
    bool final_ = false;
    int status_ = 0;
    std::string version_;
    std::string statusText_;
    std::string statusLine_;
    std::vector<HeaderField> fields_;
};

}  // namespace quillmark::platform::winhttp
