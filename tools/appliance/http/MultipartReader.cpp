#include "http/MultipartReader.h"

#include <algorithm>
#include <functional>

#include "Pch.h"
#include "http/Errors.h"
#include "http/HttpMessage.h"
#include "http/RequestBody.h"
#include "http/Uri.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::size_t LargestPartHead = 16UL * 1024;

// A client counts one byte too many for the part's head and the line break after the part's content twice.
bool IsPayableDebt(std::uint64_t owed) {
    return owed == 0 || owed == 2 || owed == 3;
}

std::optional<PartHead> ParsePartHead(std::string_view lines) {
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find("\r\n"), lines.size());
        const std::string_view line = lines.substr(0, end);
        lines.remove_prefix(std::min(end + 2, lines.size()));
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || !EqualsIgnoringCase(line.substr(0, colon), "Content-Disposition")) {
            continue;
        }
        const std::string_view value = line.substr(colon + 1);
        const auto name = HeaderParameter(value, "name");
        if (!name) {
            return std::nullopt;
        }
        return PartHead{*name, HeaderParameter(value, "filename")};
    }
    return std::nullopt;
}

}  // namespace

// The delimiter is some seventy bytes long, so this search looks at one byte in seventy of a file's content.
struct MultipartReader::Search {
    std::boyer_moore_horspool_searcher<std::string::const_iterator> searcher;
};

MultipartReader::MultipartReader(RequestBody& body, const std::string& boundary)
    : m_body(body), m_delimiter("\r\n--" + boundary) {
    m_search =
        std::make_unique<Search>(Search{std::boyer_moore_horspool_searcher(m_delimiter.cbegin(), m_delimiter.cend())});
}

MultipartReader::~MultipartReader() = default;

asio::awaitable<std::optional<PartHead>> MultipartReader::Next() {
    switch (m_state) {
        case State::Start:
            co_await TakeOpening();
            break;
        case State::InPart:
            co_await Read([](std::string_view) {});
            break;
        case State::AfterPart:
            break;
        case State::Complete:
            co_return std::nullopt;
        case State::Broken:
            Break("The body is not framed as announced");
    }
    auto head = co_await TakeAfterDelimiter();
    co_return head;
}

asio::awaitable<void> MultipartReader::Read(Sink sink) {
    while (m_state == State::InPart) {
        const std::string_view window = m_body.Window();
        const auto found = std::search(window.begin(), window.end(), m_search->searcher);
        const auto position = static_cast<std::size_t>(found - window.begin());
        if (found == window.end()) {
            // The end of what has come may be the beginning of the delimiter.
            const std::size_t certain = window.size() - std::min(window.size(), m_delimiter.size() - 1);
            if (certain > 0) {
                sink(window.substr(0, certain));
                m_body.Consume(certain);
            }
            co_await Ensure(m_body.Window().size() + 1);
            continue;
        }
        // What is ahead goes first, so that there is room for the bytes behind the delimiter.
        sink(window.substr(0, position));
        m_body.Consume(position);
        const bool ends = co_await IsDelimiterNext();
        if (!ends) {
            sink(m_delimiter);
        }
        m_body.Consume(m_delimiter.size());
        m_state = ends ? State::AfterPart : State::InPart;
    }
}

asio::awaitable<std::string> MultipartReader::ReadText(std::size_t limit) {
    std::string text;
    co_await Read([&](std::string_view bytes) {
        if (bytes.size() > limit - text.size()) {
            throw ApiError(ErrorId::BodyTooLarge, "A form field is too long");
        }
        text += bytes;
    });
    co_return text;
}

asio::awaitable<bool> MultipartReader::SkipAll() {
    for (;;) {
        const auto part = co_await Next();
        if (!part) {
            co_return true;
        }
    }
}

// Content may hold the delimiter's text in the middle of a line; only a line of its own counts.
asio::awaitable<bool> MultipartReader::IsDelimiterNext() {
    co_await Ensure(m_delimiter.size() + 2);
    const std::string_view next = m_body.Window().substr(m_delimiter.size(), 2);
    co_return next == "--" || next == "\r\n";
}

asio::awaitable<void> MultipartReader::Ensure(std::size_t count) {
    while (m_body.Window().size() < count) {
        if (m_body.Remaining() < count) {
            Break("The body has no closing boundary within its announced length");
        }
        co_await m_body.More();
    }
}

asio::awaitable<void> MultipartReader::TakeOpening() {
    const std::string_view opening = std::string_view(m_delimiter).substr(2);
    co_await Ensure(opening.size());
    if (!m_body.Window().starts_with(opening)) {
        Break("The body does not begin with its boundary");
    }
    m_body.Consume(opening.size());
    m_state = State::AfterPart;
}

asio::awaitable<std::optional<PartHead>> MultipartReader::TakeAfterDelimiter() {
    co_await Ensure(2);
    const std::string mark(m_body.Window().substr(0, 2));
    if (mark == "--") {
        m_body.Consume(2);
        co_await TakeClosingEnd();
        co_return std::nullopt;
    }
    if (mark != "\r\n") {
        Break("A boundary is not followed by a line break");
    }
    auto head = co_await TakePartHead();
    co_return head;
}

asio::awaitable<void> MultipartReader::TakeClosingEnd() {
    co_await Ensure(2);
    if (!m_body.Window().starts_with("\r\n")) {
        Break("The closing boundary is not followed by a line break");
    }
    m_body.Consume(2);
    if (!IsPayableDebt(m_body.Remaining())) {
        Break("The body is shorter than its announced length");
    }
    m_state = State::Complete;
}

asio::awaitable<PartHead> MultipartReader::TakePartHead() {
    constexpr std::string_view end = "\r\n\r\n";
    std::size_t position = m_body.Window().find(end);
    while (position == std::string_view::npos) {
        if (m_body.Window().size() > LargestPartHead) {
            Break("The head of a part is too long");
        }
        co_await Ensure(m_body.Window().size() + 1);
        position = m_body.Window().find(end);
    }
    auto head = ParsePartHead(m_body.Window().substr(0, position));
    if (!head) {
        Break("A part has no name");
    }
    m_body.Consume(position + end.size());
    m_state = State::InPart;
    co_return std::move(*head);
}

void MultipartReader::Break(const char* reason) {
    m_state = State::Broken;
    throw ApiError(ErrorId::BodyMismatch, reason);
}

}  // namespace appliance
