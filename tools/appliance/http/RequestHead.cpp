#include "http/RequestHead.h"

#include "Pch.h"
// After the precompiled header, which has to come first.
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>

#include "http/Errors.h"
#include "http/Uri.h"

namespace appliance {

namespace asio = boost::asio;
namespace http = boost::beast::http;

namespace {

using Parser = http::request_parser<http::empty_body>;

constexpr std::chrono::seconds HeadTime{30};

// Skips what the request before still owed. False at the end of the stream.
asio::awaitable<bool> SkipOwedLineBreaks(ReadBuffer& buffer, std::size_t owed) {
    for (;;) {
        while (owed > 0 && !buffer.Window().empty() && (buffer.Window()[0] == '\r' || buffer.Window()[0] == '\n')) {
            buffer.Consume(1);
            --owed;
        }
        if (!buffer.Window().empty()) {
            co_return true;
        }
        const bool more = co_await buffer.Fill();
        if (!more) {
            co_return false;
        }
    }
}

bool HasToken(boost::beast::string_view list, std::string_view token) {
    for (const auto& entry : http::token_list{list}) {
        if (EqualsIgnoringCase({entry.data(), entry.size()}, token)) {
            return true;
        }
    }
    return false;
}

Request Convert(Parser& parser) {
    const auto& head = parser.get();
    Request request;
    request.method = std::string(head.method_string());
    const std::string_view target(head.target().data(), head.target().size());
    const std::size_t question = std::min(target.find('?'), target.size());
    request.path = target.substr(0, question);
    request.query = target.substr(std::min(question + 1, target.size()));
    for (const auto& field : head) {
        request.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
    }
    if (const auto length = parser.content_length()) {
        request.contentLength = *length;
    }
    request.chunked = parser.chunked();
    request.keepAlive = head.keep_alive();
    request.expectsContinue = HasToken(head[http::field::expect], "100-continue");
    return request;
}

// Feeds the parser what has come; true when the head is complete.
bool Parse(Parser& parser, ReadBuffer& buffer) {
    boost::system::error_code error;
    const std::string_view window = buffer.Window();
    buffer.Consume(parser.put(asio::const_buffer(window.data(), window.size()), error));
    if (error == http::error::need_more || (!error && !parser.is_header_done())) {
        if (buffer.Window().size() >= LargestHead) {
            throw ApiError(ErrorId::HeadTooLarge, "The request's head is too long");
        }
        return false;
    }
    if (error == http::error::header_limit) {
        throw ApiError(ErrorId::HeadTooLarge, "The request's head is too long");
    }
    if (error) {
        throw ApiError(ErrorId::Malformed, "This is not an HTTP request: " + error.message());
    }
    return true;
}

}  // namespace

asio::awaitable<std::optional<Request>> ReadRequestHead(Transport& transport, ReadBuffer& buffer, std::size_t owed) {
    const bool started = co_await SkipOwedLineBreaks(buffer, owed);
    if (!started) {
        co_return std::nullopt;
    }
    transport.SetLimit(HeadTime);
    Parser parser;
    parser.header_limit(LargestHead);
    // Not "none", which this release of the parser takes for a limit of nothing.
    parser.body_limit(std::numeric_limits<std::uint64_t>::max());
    for (;;) {
        const bool complete = !buffer.Window().empty() && Parse(parser, buffer);
        if (complete) {
            break;
        }
        const bool more = co_await buffer.Fill();
        if (!more) {
            throw ApiError(ErrorId::Malformed, "The request's head ended early");
        }
    }
    transport.ClearLimit();
    co_return Convert(parser);
}

}  // namespace appliance
