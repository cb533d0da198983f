#include "tavsim/server.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <limits>
#include <system_error>

namespace tavsim {
namespace {

constexpr int receive_batch = 64;            // Then times and signals get their turn.
constexpr std::size_t any_datagram = 65536;  // No UDP datagram is larger.

int wait_milliseconds(const Outbox& outbox) {
  const auto due = outbox.next_due();
  if (!due) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*due - Clock::now()).count();
  using Count = decltype(left);
  return static_cast<int>(std::clamp<Count>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace

void Server::run() {
  while (is_receiving() || outbox_.next_due()) {
    if (!wait()) return;
    receive_waiting();
    if (!is_receiving()) outbox_.release(Clock::now());
    send_due();
  }
}

// False when a stop signal has come.
bool Server::wait() {
  std::array<pollfd, 2> watched{
      {{signals_.descriptor(), POLLIN, 0}, {is_receiving() ? socket_.descriptor() : -1, POLLIN, 0}}};
  if (poll(watched.data(), watched.size(), wait_milliseconds(outbox_)) < 0 && errno != EINTR) {
    throw std::system_error(errno, std::generic_category(), "poll");
  }
  return watched[0].revents == 0;
}

void Server::receive_waiting() {
  std::array<std::uint8_t, any_datagram> buffer;
  sockaddr_in from{};
  for (int i = 0; i < receive_batch && is_receiving(); ++i) {
    const auto datagram = socket_.receive(buffer, from);
    if (!datagram) return;
    handler_.handle(*datagram, from, Clock::now(), outbox_);
  }
}

void Server::send_due() {
  while (const auto outgoing = outbox_.take(Clock::now())) {
    send(*outgoing);
  }
}

void Server::send(const Outgoing& outgoing) const {
  const int error = socket_.send(outgoing.datagram, outgoing.to);
  if (!trace_.is_on()) return;
  const std::string what =
      "reply " + std::to_string(outgoing.request) + " to " + describe(outgoing.to) + ": ";
  trace_.line(what + (error == 0 ? describe_reply(outgoing.datagram) : std::string(std::strerror(error))));
}

}  // namespace tavsim
