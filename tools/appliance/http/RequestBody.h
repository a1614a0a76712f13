// The body of one request, read as a stream from the connection's buffer.
//
// A body is what Content-Length announces, with one exception: a multipart body ends at its closing boundary, and the
// announced length may then exceed it by two or three bytes, which are never waited for (Owed). Handlers read a body as
// a form or as multipart; what a refusing handler leaves is dropped by Drain, so that the connection can carry on.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "http/HttpMessage.h"
#include "http/MultipartReader.h"
#include "http/ReadBuffer.h"
#include "http/Uri.h"

namespace appliance {

class RequestBody {
public:
    RequestBody(const Request& request, Transport& transport, ReadBuffer& buffer);

    // All fields of a url-encoded form. Throws ApiError when the body is something else or too large.
    [[nodiscard]] boost::asio::awaitable<Fields> ReadForm();

    // Whether the request announces a multipart/form-data body.
    [[nodiscard]] bool IsMultipart() const;

    // The reader of such a body, the same one at each call. Throws ApiError when the request has no such body.
    [[nodiscard]] MultipartReader& Multipart();

    // Drops the rest. True when the next request can follow on the connection; false when what is left is too much to
    // be worth reading or when the body is not framed as announced.
    [[nodiscard]] boost::asio::awaitable<bool> Drain();

    // How many announced bytes were still missing when the body was complete: 0, 2 or 3.
    [[nodiscard]] std::size_t Owed() const;

    // What MultipartReader reads from: the received bytes of this body, and more of them. More throws ApiError when the
    // announced length is exhausted or the stream has ended.
    [[nodiscard]] std::string_view Window() const;
    void Consume(std::size_t count);
    [[nodiscard]] boost::asio::awaitable<void> More();
    [[nodiscard]] std::uint64_t Remaining() const { return m_remaining; }

private:
    void RequireLength();
    [[nodiscard]] boost::asio::awaitable<void> Begin();

    const Request& m_request;
    Transport& m_transport;
    ReadBuffer& m_buffer;
    std::uint64_t m_remaining;
    bool m_begun = false;
    bool m_broken = false;
    std::unique_ptr<MultipartReader> m_multipart;
};

}  // namespace appliance
