#include "faults/hosts/answering_server.h"

#include <stdexcept>

namespace tavtest {
namespace {

constexpr std::uint32_t lookup_mask = 0x10010;

WireEntry entry_at(std::uint32_t address) {
  const std::string user = user_at(address);
  return {.tag = 1,
          .user = std::u16string(user.begin(), user.end()),
          .string3 = u"TREE",
          .address = address,
          .word13 = 1};
}

}  // namespace

std::string user_at(unsigned long address) {
  return "USER " + std::to_string(address);
}

std::uint32_t asked_address(const FakeServer::Request& request) {
  return get_be32(request.packet, 60);
}

void AnsweringServer::answer(const Request& request) {
  switch (request.code()) {
    case 1:
      return reply_version(request, version_);
    case 2:
      ++entries_taken_;
      return reply_status(request);
    case 3:
      return answer_query(request);
    default:
      throw std::runtime_error("a request that no host makes here");
  }
}

void AnsweringServer::answer_all() {
  while (!is_idle())
    answer(receive());
}

void AnsweringServer::answer_query(const Request& request) {
  const std::uint32_t address = asked_address(request);
  if (get_be32(request.packet, 28) == lookup_mask) return reply_entry(request, entry_at(address));
  if (address < entries) return reply_entry(request, entry_at(address + 1));
  reply_no_entry(request);
}

}  // namespace tavtest
