#include "conformance/host.h"

#include <arpa/inet.h>
#include <endian.h>
#include <poll.h>

#include <stdexcept>
#include <string>

namespace tavtest {
namespace {

bool is_readable_within(int socket, int milliseconds) {
  pollfd watched{socket, POLLIN, 0};
  return poll(&watched, 1, milliseconds) == 1;
}

}  // namespace

Library::Library() {
  if (TAVInitialize() != 1) {
    throw std::runtime_error("TAVInitialize: error " + std::to_string(TAVGetLastError()));
  }
}

Library::~Library() {
  TAVExit();
}

unsigned error_of(int result) {
  return result == 0 ? TAVGetLastError() : 0;
}

unsigned long address_of(const char* dotted) {
  return inet_addr(dotted);
}

unsigned long user_address(const char* dotted) {
  return htole32(inet_addr(dotted));
}

bool finds_two_entries(unsigned long server) {
  wchar_t user[] = L"nobody asks for this";
  _TAVENTRYW filter{};
  filter.user = user;
  filter.word7 = 2;
  filter.word13 = 99;
  TAVQueryEnum* query = nullptr;
  if (TAVQueryStartW(&filter, 0xabc00020, 0x22222222, server, 0x33333333, &query) != 1) return false;
  _TAVENTRYW entry{};
  const bool found = TAVQueryNextW(query, &entry) == 1 && TAVQueryNextW(query, &entry) == 1;
  TAVQueryClose(query);
  return found;
}

bool is_readable(int socket) {
  return is_readable_within(socket, 5000);
}

bool is_readable_now(int socket) {
  return is_readable_within(socket, 0);
}

}  // namespace tavtest
