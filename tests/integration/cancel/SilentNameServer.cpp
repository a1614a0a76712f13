#include "integration/cancel/SilentNameServer.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace quillmark::testing {
namespace {

constexpr std::size_t QuestionStart = 12;  // after the header of a DNS message

void Require(bool done, const char* what) {
    if (!done) {
        throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(errno));
    }
}

void RaiseLoopback() {
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request = {};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    const bool raised = ::ioctl(socket, SIOCSIFFLAGS, &request) == 0;
    ::close(socket);
    Require(raised, "raising the loopback interface");
}

// The name of a question, its labels joined by dots, and its kind.
std::pair<std::string, int> ParseQuestion(const unsigned char* message, std::size_t size) {
    std::string name;
    std::size_t at = QuestionStart;
    while (at < size && message[at] != 0 && at + message[at] + 1 < size) {
        name += name.empty() ? "" : ".";
        name.append(reinterpret_cast<const char*>(message + at + 1), message[at]);
        at += message[at] + 1u;
    }
    return {name, at + 2 < size ? message[at + 1] * 256 + message[at + 2] : 0};
}

}  // namespace

SilentNameServer::SilentNameServer() {
    const int userNamespace = ::geteuid() == 0 ? 0 : CLONE_NEWUSER;
    Require(::unshare(CLONE_NEWNET | CLONE_NEWNS | userNamespace) == 0, "namespaces");
    Require(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "private mounts");
    const std::string configuration = m_folder / "resolv.conf";
    std::ofstream(configuration) << "nameserver 127.0.0.1\noptions timeout:30 attempts:1\n";
    Require(::mount(configuration.c_str(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr) == 0, "resolv.conf");
    RaiseLoopback();
    m_socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    Require(::bind(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0, "port 53");
}

SilentNameServer::~SilentNameServer() {
    ::umount2("/etc/resolv.conf", MNT_DETACH);
    ::close(m_socket);
}

std::optional<std::string> SilentNameServer::AwaitQuestion(int kind) {
    pollfd waiting = {m_socket, POLLIN, 0};
    while (::poll(&waiting, 1, 30'000) == 1) {
        unsigned char message[512];
        const ssize_t size = ::recv(m_socket, message, sizeof(message), 0);
        const auto [name, asked] = ParseQuestion(message, size > 0 ? static_cast<std::size_t>(size) : 0);
        if (asked == kind) {
            return name;
        }
    }
    return std::nullopt;
}

}  // namespace quillmark::testing
