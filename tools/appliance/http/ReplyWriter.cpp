#include "http/ReplyWriter.h"

#include <unistd.h>

#include <ctime>

#include "Pch.h"

namespace appliance {

namespace asio = boost::asio;

namespace {

constexpr unsigned NoContent = 204;
// Up to this size a body is sent in one piece with the head.
constexpr std::size_t SmallBody = 64UL * 1024;

std::string DateText() {
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    gmtime_r(&now, &parts);
    char text[64];
    const std::size_t length = std::strftime(text, sizeof(text), "%a, %d %b %Y %H:%M:%S GMT", &parts);
    return std::string(text, length);
}

std::string HeadText(const Reply& reply, bool keepAlive, std::int64_t lengthError) {
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + ' ' + std::string(ReasonOf(reply.status)) + "\r\n";
    head += "Server: quillmark-appliance\r\nDate: " + DateText() + "\r\nCache-Control: no-store\r\n";
    for (const auto& [name, value] : reply.headers) {
        head += name + ": " + value + "\r\n";
    }
    if (reply.status != NoContent) {
        const std::uint64_t length = reply.BodyLength() + static_cast<std::uint64_t>(lengthError);
        head += "Content-Type: " + reply.contentType + "\r\nContent-Length: " + std::to_string(length) + "\r\n";
    }
    head += keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n";
    return head;
}

asio::awaitable<void> WriteBody(Transport& transport, const Reply& reply, std::uint64_t from, std::uint64_t length) {
    if (reply.file) {
        co_await transport.SendFile(reply.file->file->Get(), reply.file->offset + from, length);
    } else {
        co_await transport.Write(std::string_view(reply.body).substr(from, length));
    }
}

char ByteAt(const Reply& reply, std::uint64_t position) {
    if (!reply.file) {
        return reply.body[position];
    }
    char byte = 0;
    if (::pread(reply.file->file->Get(), &byte, 1, static_cast<off_t>(reply.file->offset + position)) != 1) {
        throw ConnectionAbandoned();
    }
    return byte;
}

// The body with every bit of one byte turned over.
asio::awaitable<void> WriteDamaged(Transport& transport, const Reply& reply, std::uint64_t position) {
    const char damaged = static_cast<char>(~ByteAt(reply, position));
    co_await WriteBody(transport, reply, 0, position);
    co_await transport.Write(std::string_view(&damaged, 1));
    co_await WriteBody(transport, reply, position + 1, reply.BodyLength() - position - 1);
}

asio::awaitable<void> WriteHeadAndBody(Transport& transport, const Reply& reply, std::string head) {
    if (!reply.file && reply.body.size() <= SmallBody) {
        co_await transport.Write(head + reply.body);
        co_return;
    }
    co_await transport.Write(head, reply.BodyLength() > 0);
    co_await WriteBody(transport, reply, 0, reply.BodyLength());
}

}  // namespace

asio::awaitable<void> WriteReply(Transport& transport, const Reply& reply, bool keepAlive, const Fault* fault) {
    const bool wrongLength = fault != nullptr && fault->kind == FaultKind::Length;
    const std::string head = HeadText(reply, keepAlive, wrongLength ? fault->by : 0);
    if (fault != nullptr) {
        transport.InterfereWithWriting(fault->OnReply(head.size()));
    }
    if (fault != nullptr && fault->kind == FaultKind::Damage && fault->offset < reply.BodyLength()) {
        co_await transport.Write(head);
        co_await WriteDamaged(transport, reply, fault->offset);
    } else {
        co_await WriteHeadAndBody(transport, reply, head);
    }
    transport.InterfereWithWriting(Interference());
}

}  // namespace appliance
