#include "tavsim/posix.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tavsim {
namespace {

constexpr int receive_room = 1 << 20;  // Hundreds of requests may arrive at once.

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

int stop_descriptor() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0) fail("sigprocmask");
  return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

Descriptor::~Descriptor() {
  if (number_ >= 0) close(number_);
}

UdpSocket::UdpSocket(const sockaddr_in& address)
    : descriptor_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  if (descriptor() < 0) fail("socket");
  setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &receive_room, sizeof receive_room);
  if (bind(descriptor(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) fail("bind");
}

sockaddr_in UdpSocket::address() const {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(descriptor(), reinterpret_cast<sockaddr*>(&address), &size) != 0) fail("getsockname");
  return address;
}

std::optional<ByteView> UdpSocket::receive(std::span<std::uint8_t> buffer, sockaddr_in& from) const {
  socklen_t size = sizeof from;
  const ssize_t received =
      recvfrom(descriptor(), buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
  if (received < 0) return std::nullopt;
  return ByteView(buffer.data(), static_cast<std::size_t>(received));
}

int UdpSocket::send(ByteView datagram, const sockaddr_in& to) const {
  const ssize_t sent = sendto(descriptor(), datagram.data(), datagram.size(), 0,
                              reinterpret_cast<const sockaddr*>(&to), sizeof to);
  return sent < 0 ? errno : 0;
}

StopSignals::StopSignals() : descriptor_(stop_descriptor()) {
  if (descriptor() < 0) fail("signalfd");
}

}  // namespace tavsim
