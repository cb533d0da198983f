#include "support/socket_faults.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "support/call_faults.h"
#include "support/next_symbol.h"

namespace tavtest {
namespace {

// How the calls fail under CallFaults.
constexpr Way socket_ways[] = {{"EMFILE", EMFILE}, {"ENOBUFS", ENOBUFS}};
constexpr Way send_ways[] = {{"ENETUNREACH", ENETUNREACH}, {"EAGAIN", EAGAIN}, {"short", 0}};
constexpr Way receive_ways[] = {
    {"EAGAIN", EAGAIN}, {"ECONNREFUSED", ECONNREFUSED}, {"short", 0}, {"empty", 0}};

struct Faults {
  std::map<std::string, int> errors;                              // of every call
  std::map<std::pair<std::string, std::size_t>, int> one_errors;  // of the call with this number
  std::vector<std::string> calls;
  long missing = 0;
};

std::optional<Faults>& faults() {
  static std::optional<Faults> one;
  return one;
}

int error_of(const std::string& name, std::size_t index) {
  const auto one = faults()->one_errors.find({name, index});
  if (one != faults()->one_errors.end()) return one->second;
  const auto every = faults()->errors.find(name);
  return every == faults()->errors.end() ? 0 : every->second;
}

// Records the call. True, with errno set, when it is to fail.
bool fails(const char* name) {
  if (!faults()) return false;
  auto& calls = faults()->calls;
  const auto earlier = std::count(calls.begin(), calls.end(), name);
  calls.emplace_back(name);
  const int error_number = error_of(name, static_cast<std::size_t>(earlier));
  if (error_number != 0) errno = error_number;
  return error_number != 0;
}

}  // namespace

SocketFaults::SocketFaults() {
  if (faults()) throw std::logic_error("only one SocketFaults at a time");
  faults().emplace();
}

SocketFaults::~SocketFaults() {
  faults().reset();
}

void SocketFaults::fail(const std::string& name, int error_number) {
  faults()->errors[name] = error_number;
}

void SocketFaults::fail_one(const std::string& name, std::size_t index, int error_number) {
  faults()->one_errors[{name, index}] = error_number;
}

void SocketFaults::shorten_sends(long missing) {
  faults()->missing = missing;
}

const std::vector<std::string>& SocketFaults::calls() const {
  return faults()->calls;
}

}  // namespace tavtest

using tavtest::fails;
using tavtest::next_symbol;
using tavtest::way_to_fail;

TAVTEST_REPLACES_LIBC int socket(int domain, int type, int protocol) noexcept {
  static auto* const real = next_symbol<int(int, int, int)>(TAVTEST_SYMBOL(socket));
  if (fails("socket") || way_to_fail("socket", tavtest::socket_ways) != nullptr) return -1;
  return real(domain, type, protocol);
}

TAVTEST_REPLACES_LIBC int bind(int fd, const sockaddr* address, socklen_t size) noexcept {
  static auto* const real = next_symbol<int(int, const sockaddr*, socklen_t)>(TAVTEST_SYMBOL(bind));
  return fails("bind") ? -1 : real(fd, address, size);
}

TAVTEST_REPLACES_LIBC int connect(int fd, const sockaddr* address, socklen_t size) {
  static auto* const real = next_symbol<int(int, const sockaddr*, socklen_t)>(TAVTEST_SYMBOL(connect));
  return fails("connect") ? -1 : real(fd, address, size);
}

TAVTEST_REPLACES_LIBC int setsockopt(int fd, int level, int name, const void* value,
                                     socklen_t size) noexcept {
  static auto* const real =
      next_symbol<int(int, int, int, const void*, socklen_t)>(TAVTEST_SYMBOL(setsockopt));
  return fails("setsockopt") ? -1 : real(fd, level, name, value, size);
}

TAVTEST_REPLACES_LIBC ssize_t sendto(int fd, const void* bytes, size_t count, int flags,
                                     const sockaddr* address, socklen_t size) {
  static auto* const real =
      next_symbol<ssize_t(int, const void*, size_t, int, const sockaddr*, socklen_t)>(TAVTEST_SYMBOL(sendto));
  if (fails("sendto")) return -1;
  if (const tavtest::Way* way = way_to_fail("sendto", tavtest::send_ways))
    return way->error_number == 0 ? static_cast<ssize_t>(count) - 1 : -1;
  if (tavtest::faults() && tavtest::faults()->missing > 0)
    return static_cast<ssize_t>(count) - tavtest::faults()->missing;
  return real(fd, bytes, count, flags, address, size);
}

TAVTEST_REPLACES_LIBC ssize_t recvfrom(int fd, void* bytes, size_t count, int flags, sockaddr* address,
                                       socklen_t* size) {
  static auto* const real =
      next_symbol<ssize_t(int, void*, size_t, int, sockaddr*, socklen_t*)>(TAVTEST_SYMBOL(recvfrom));
  if (fails("recvfrom")) return -1;
  const tavtest::Way* way = way_to_fail("recvfrom", tavtest::receive_ways);
  if (way != nullptr && way->error_number != 0) return -1;
  // Where it falls short, the datagram is gone all the same.
  const ssize_t received = real(fd, bytes, count, flags, address, size);
  if (way == nullptr || received <= 0) return received;
  return std::string_view(way->name) == "empty" ? 0 : received / 2;
}
