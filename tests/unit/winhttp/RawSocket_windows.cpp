// clang-format off: winsock2.h comes before windows.h.
#include <winsock2.h>
#include <ws2tcpip.h>
// clang-format on

#include "unit/winhttp/RawSocket_windows.h"

#include <system_error>

namespace quillmark::test {

namespace {

// Long after an answer on loopback would have come.
constexpr long PendingMicroseconds = 200'000;

sockaddr_in Loopback(std::uint16_t port) {
    // The first socket is asked for here.
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    sockaddr_in address{};
    address.sin_family = started ? AF_INET : AF_UNSPEC;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

SOCKET Number(RawSocket socket) {
    return static_cast<SOCKET>(socket);
}

}  // namespace

RawSocket BindRaw(std::uint16_t& port) {
    sockaddr_in address = Loopback(0);
    int size = sizeof(address);
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
    if (listener == INVALID_SOCKET || bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        throw std::system_error(WSAGetLastError(), std::system_category(), "no loopback port");
    }
    port = ntohs(address.sin_port);
    return static_cast<RawSocket>(listener);
}

void ListenRaw(RawSocket listener, int queue) {
    if (listen(Number(listener), queue) != 0) {
        throw std::system_error(WSAGetLastError(), std::system_category(), "listen");
    }
}

RawSocket AcceptRaw(RawSocket listener) {
    const SOCKET accepted = accept(Number(listener), nullptr, nullptr);
    const BOOL on = TRUE;
    setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
    return accepted == INVALID_SOCKET ? NoSocket : static_cast<RawSocket>(accepted);
}

RawSocket ConnectRaw(std::uint16_t port) {
    const sockaddr_in address = Loopback(port);
    const SOCKET connected = socket(AF_INET, SOCK_STREAM, 0);
    if (connect(connected, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        closesocket(connected);
        return NoSocket;
    }
    return static_cast<RawSocket>(connected);
}

// Nothing but a connection ends a wait without taking the socket away from under it.
void StopAccepting(RawSocket listener) {
    sockaddr_in address{};
    int size = sizeof(address);
    getsockname(Number(listener), reinterpret_cast<sockaddr*>(&address), &size);
    CloseRaw(ConnectRaw(ntohs(address.sin_port)));
}

std::size_t ReceiveRaw(RawSocket socket, char* buffer, std::size_t size) {
    const int count = recv(Number(socket), buffer, static_cast<int>(size), 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::size_t SendRaw(RawSocket socket, std::string_view bytes) {
    const int count = send(Number(socket), bytes.data(), static_cast<int>(bytes.size()), 0);
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void ShutRaw(RawSocket socket) {
    shutdown(Number(socket), SD_BOTH);
    // A read that has begun need not notice.
    CancelIoEx(reinterpret_cast<HANDLE>(Number(socket)), nullptr);
}

void ResetAtClose(RawSocket socket) {
    const linger now{1, 0};
    setsockopt(Number(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&now), sizeof(now));
}

void CloseRaw(RawSocket socket) {
    closesocket(Number(socket));
}

RawSocket BeginConnect(std::uint16_t port, bool& pending) {
    const sockaddr_in address = Loopback(port);
    const SOCKET connecting = socket(AF_INET, SOCK_STREAM, 0);
    u_long nonBlocking = 1;
    ioctlsocket(connecting, static_cast<long>(FIONBIO), &nonBlocking);
    pending = connect(connecting, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0;
    if (pending) {
        fd_set connected;
        FD_ZERO(&connected);
        FD_SET(connecting, &connected);
        fd_set failed = connected;
        timeval patience{0, PendingMicroseconds};
        pending = select(0, nullptr, &connected, &failed, &patience) == 0;
    }
    return static_cast<RawSocket>(connecting);
}

// There is no such signal.
void IgnoreBrokenPipes() {}

}  // namespace quillmark::test
