#include "http/RequestBody.h"

#include "Pch.h"
#include "http/Errors.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr std::uint64_t LargestForm = 128UL * 1024;
// A refused body up to this size is read, so that the connection is kept; a larger one costs the connection.
constexpr std::uint64_t LargestDrain = 4UL * 1024 * 1024;

bool HasMediaType(const Request& request, std::string_view mediaType) {
    const std::string_view value = request.Header("Content-Type");
    return EqualsIgnoringCase(Trimmed(value.substr(0, value.find(';'))), mediaType);
}

}  // namespace

RequestBody::RequestBody(const Request& request, Transport& transport, ReadBuffer& buffer)
    : m_request(request), m_transport(transport), m_buffer(buffer), m_remaining(request.contentLength.value_or(0)) {}

asio::awaitable<Fields> RequestBody::ReadForm() {
    if (!HasMediaType(m_request, "application/x-www-form-urlencoded")) {
        throw ApiError(ErrorId::BodyTypeUnsupported, "A url-encoded form is expected here");
    }
    if (m_remaining > LargestForm) {
        throw ApiError(ErrorId::BodyTooLarge, "The form is too large");
    }
    co_await Begin();
    while (Window().size() < m_remaining) {
        co_await More();
    }
    auto fields = ParseForm(Window());
    Consume(static_cast<std::size_t>(m_remaining));
    if (!fields) {
        throw ApiError(ErrorId::Malformed, "The form has a malformed percent escape");
    }
    co_return std::move(*fields);
}

bool RequestBody::IsMultipart() const {
    return HasMediaType(m_request, "multipart/form-data");
}

MultipartReader& RequestBody::Multipart() {
    if (!m_multipart) {
        RequireLength();
        const auto boundary = HeaderParameter(m_request.Header("Content-Type"), "boundary");
        if (!IsMultipart() || !boundary || boundary->empty() || boundary->size() > MultipartReader::LongestBoundary) {
            throw ApiError(ErrorId::BodyTypeUnsupported, "A multipart/form-data body with a boundary is expected here");
        }
        m_multipart = std::make_unique<MultipartReader>(*this, *boundary);
    }
    return *m_multipart;
}

asio::awaitable<bool> RequestBody::Drain() {
    const bool unasked = m_request.expectsContinue && !m_begun;
    if (m_broken || (m_multipart && m_multipart->IsBroken()) || m_request.chunked || unasked) {
        co_return false;
    }
    if (m_multipart && m_multipart->IsComplete()) {
        co_return true;
    }
    if (m_remaining > LargestDrain) {
        co_return false;
    }
    if (IsMultipart() && m_remaining > 0) {
        co_return co_await Multipart().SkipAll();
    }
    while (m_remaining > 0) {
        if (Window().empty()) {
            co_await More();
        }
        Consume(Window().size());
    }
    co_return true;
}

std::size_t RequestBody::Owed() const {
    return m_multipart && m_multipart->IsComplete() ? static_cast<std::size_t>(m_remaining) : 0;
}

std::string_view RequestBody::Window() const {
    const std::string_view window = m_buffer.Window();
    return window.substr(0, static_cast<std::size_t>(std::min<std::uint64_t>(window.size(), m_remaining)));
}

void RequestBody::Consume(std::size_t count) {
    m_buffer.Consume(count);
    m_remaining -= count;
}

asio::awaitable<void> RequestBody::More() {
    co_await Begin();
    if (Window().size() >= m_remaining) {
        m_broken = true;
        throw ApiError(ErrorId::BodyMismatch, "The body is longer than its announced length");
    }
    const bool more = co_await m_buffer.Fill();
    if (!more) {
        m_broken = true;
        throw ApiError(ErrorId::BodyMismatch, "The body ended before its announced length");
    }
}

void RequestBody::RequireLength() {
    if (m_request.chunked || !m_request.contentLength) {
        m_broken = true;
        throw ApiError(ErrorId::LengthMissing, "A request with a body needs a Content-Length");
    }
}

// A client that asks first gets its answer when the body is wanted, so that a refusal costs it nothing.
asio::awaitable<void> RequestBody::Begin() {
    if (m_begun) {
        co_return;
    }
    m_begun = true;
    RequireLength();
    if (m_request.expectsContinue) {
        co_await m_transport.Write("HTTP/1.1 100 Continue\r\n\r\n");
    }
}

}  // namespace appliance
