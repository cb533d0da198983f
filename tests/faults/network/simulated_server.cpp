#include "faults/network/simulated_server.h"

#include <algorithm>
#include <array>

#include "tavsim/entries_file.h"

namespace tavtest {
namespace {

constexpr const char* passphrase = "network";

sockaddr_in loopback() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

tavsim::Store store_of(const std::string& entries_file) {
  std::istringstream input(entries_file);
  return tavsim::Store(tavsim::read_entries(input));
}

}  // namespace

tavsim::FaultSource Faults::source() const {
  std::vector<tavsim::FaultRule> parsed;
  std::transform(rules.begin(), rules.end(), std::back_inserter(parsed), tavsim::parse_fault_rule);
  return tavsim::FaultSource(parsed, seed);
}

SimulatedServer::SimulatedServer(const std::string& entries_file, const Faults& faults, FakeTime& time)
    : time_(time),
      socket_(loopback()),
      handler_(tavsim::Crypto(passphrase), tavsim::Responder(store_of(entries_file), 1), faults.source(),
               faults.settings, no_trace_) {}

ConfiguredServer SimulatedServer::configured() const {
  return {"127.0.0.1", ntohs(socket_.address().sin_port), passphrase};
}

unsigned long SimulatedServer::address() const {
  return socket_.address().sin_addr.s_addr;
}

std::size_t SimulatedServer::serve(std::size_t limit) {
  receive_all();
  std::size_t sent = 0;
  while (sent < limit) {
    const auto outgoing = outbox_.take(tavsim::Clock::now());
    if (!outgoing) break;
    socket_.send(outgoing->datagram, outgoing->to);
    ++sent;
  }
  return sent;
}

bool SimulatedServer::pass_to_next(std::chrono::microseconds bound, std::size_t limit) {
  const auto due = outbox_.next_due();
  const auto now = tavsim::Clock::now();
  if (!due || *due > now + bound) return false;
  if (*due > now) time_.advance(std::chrono::ceil<std::chrono::microseconds>(*due - now));
  return serve(limit) > 0;
}

void SimulatedServer::receive_all() {
  std::array<std::uint8_t, 8192> buffer;
  sockaddr_in from{};
  while (const auto datagram = socket_.receive(buffer, from)) {
    handler_.handle(*datagram, from, tavsim::Clock::now(), outbox_);
  }
}

}  // namespace tavtest
