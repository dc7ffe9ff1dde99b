#pragma once

#include <winsock2.h>

#include <cstdint>

namespace mrb::platform {

/// A TCP socket that no child process inherits; INVALID_SOCKET with the last error set.
[[nodiscard]] SOCKET OpenTcpSocket();

/// The socket as the calls take it that are for handles of any kind.
[[nodiscard]] HANDLE AsHandle(SOCKET socket);

[[nodiscard]] sockaddr_in AddressOf(std::uint32_t ipv4, std::uint16_t port);

}  // namespace mrb::platform
