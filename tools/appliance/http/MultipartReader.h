// Reads a multipart/form-data body as a stream, in constant memory.
//
//     while (auto part = co_await reader.Next()) {
//         co_await reader.Read([&](std::string_view bytes) { ... });
//     }
//
// States: at the start -> in a part -> (in the next part ...) -> complete; broken from any of them. A body without
// parts, only the closing line, is complete at once.
//
// The reader finds the boundaries itself, wherever the received pieces are split. At the closing line the announced
// length may exceed the body by 0, 2 or 3 bytes; with anything else the body is broken and the call throws ApiError. A
// reader that is broken throws at every further call. Exceptions of a sink leave the reader where it is: the rest can
// be skipped.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace appliance {

class RequestBody;

struct PartHead {
    std::string name;
    std::optional<std::string> fileName;
};

class MultipartReader {
public:
    static constexpr std::size_t LongestBoundary = 200;
    using Sink = std::function<void(std::string_view)>;

    MultipartReader(RequestBody& body, const std::string& boundary);
    ~MultipartReader();

    // The head of the next part, skipping what is unread of the present one; empty after the closing line.
    [[nodiscard]] boost::asio::awaitable<std::optional<PartHead>> Next();

    // Hands the rest of the present part to the sink, in pieces.
    [[nodiscard]] boost::asio::awaitable<void> Read(Sink sink);

    // The present part as a text; throws ApiError when it is longer than `limit`.
    [[nodiscard]] boost::asio::awaitable<std::string> ReadText(std::size_t limit);

    // Skips to the closing line; false when the body is broken.
    [[nodiscard]] boost::asio::awaitable<bool> SkipAll();

    // The body is not what it claims to be: throws ApiError, now and at every further call.
    [[noreturn]] void Break(const char* reason);

    [[nodiscard]] bool IsComplete() const { return m_state == State::Complete; }
    [[nodiscard]] bool IsBroken() const { return m_state == State::Broken; }

private:
    enum class State { Start, InPart, AfterPart, Complete, Broken };
    struct Search;

    [[nodiscard]] boost::asio::awaitable<void> Ensure(std::size_t count);
    [[nodiscard]] boost::asio::awaitable<void> TakeOpening();
    [[nodiscard]] boost::asio::awaitable<std::optional<PartHead>> TakeAfterDelimiter();
    [[nodiscard]] boost::asio::awaitable<void> TakeClosingEnd();
    [[nodiscard]] boost::asio::awaitable<PartHead> TakePartHead();
    [[nodiscard]] boost::asio::awaitable<bool> IsDelimiterNext();

    RequestBody& m_body;
    std::string m_delimiter;  // CR LF "--" boundary
    std::unique_ptr<Search> m_search;
    State m_state = State::Start;
};

}  // namespace appliance
