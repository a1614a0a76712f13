// The sockets under the scripted server, on either system: the few calls that it makes. Errors are the end of the
// connection; only making a listener throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace quillmark::test {

// As the system numbers it. What comes from here is closed with CloseRaw.
using RawSocket = std::intptr_t;
inline constexpr RawSocket NoSocket = -1;

// Bound to a free loopback port, not listening. Throws std::system_error.
[[nodiscard]] RawSocket BindRaw(std::uint16_t& port);

// queue: how many connections may wait to be accepted, about. Throws std::system_error.
void ListenRaw(RawSocket listener, int queue);

// Waits for the next connection, which then sends without delay. NoSocket after StopAccepting, or with it a connection
// that is nobody's: the caller asks what it is for.
[[nodiscard]] RawSocket AcceptRaw(RawSocket listener);

// Ends the wait in AcceptRaw, from another thread.
void StopAccepting(RawSocket listener);

// What is there, after waiting for it; 0 at the end.
[[nodiscard]] std::size_t ReceiveRaw(RawSocket socket, char* buffer, std::size_t size);

// How many bytes went out; 0 when the other side is gone.
[[nodiscard]] std::size_t SendRaw(RawSocket socket, std::string_view bytes);

// Ends both directions and every wait, from another thread.
void ShutRaw(RawSocket socket);

// Makes CloseRaw reset the connection.
void ResetAtClose(RawSocket socket);

void CloseRaw(RawSocket socket);

// Begins to connect a new socket to that loopback port. pending: nothing has answered.
[[nodiscard]] RawSocket BeginConnect(std::uint16_t port, bool& pending);

// For the thread that calls and those that it starts: writing to a connection that is closed is an error, no signal.
void IgnoreBrokenPipes();

}  // namespace quillmark::test
