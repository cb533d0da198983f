#include "fuzz/datagrams.h"

#include <sanitizer/asan_interface.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <span>
#include <utility>

namespace tavtest {
namespace {

std::optional<Bytes> waiting;
std::span<std::uint8_t> not_received;
Bytes sent;
sockaddr_in receiver{};
bool sending_fails = false;

}  // namespace

void deliver(std::optional<Bytes> datagram) {
  waiting = std::move(datagram);
}

void end_delivery() {
  ASAN_UNPOISON_MEMORY_REGION(not_received.data(), not_received.size());
  not_received = {};
}

void fail_sending(bool fails) {
  sending_fails = fails;
}

Bytes take_sent() {
  return std::exchange(sent, {});
}

sockaddr_in last_receiver() {
  return receiver;
}

}  // namespace tavtest

using tavtest::not_received;

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier): the linker sends the program's calls here.

ssize_t __wrap_sendto(int /*socket*/, const void* bytes, std::size_t size, int /*flags*/,
                      const sockaddr* receiver, socklen_t receiver_size) {
  if (tavtest::sending_fails) {
    errno = ENETUNREACH;
    return -1;
  }
  if (receiver_size == sizeof tavtest::receiver) std::memcpy(&tavtest::receiver, receiver, receiver_size);
  const auto* first = static_cast<const std::uint8_t*>(bytes);
  tavtest::sent.assign(first, first + size);
  return static_cast<ssize_t>(size);
}

ssize_t __wrap_recvfrom(int /*socket*/, void* buffer, std::size_t size, int /*flags*/, sockaddr* /*sender*/,
                        socklen_t* /*sender_size*/) {
  const std::optional<tavtest::Bytes> datagram = std::exchange(tavtest::waiting, std::nullopt);
  if (!datagram) {
    errno = EAGAIN;
    return -1;
  }
  const std::size_t received = std::min(size, datagram->size());
  auto* const bytes = static_cast<std::uint8_t*>(buffer);
  std::copy_n(datagram->begin(), received, bytes);
  not_received = {bytes + received, size - received};
  ASAN_POISON_MEMORY_REGION(not_received.data(), not_received.size());
  return static_cast<ssize_t>(received);
}

// NOLINTEND(bugprone-reserved-identifier)
}
