#include "servers.h"

#include <arpa/inet.h>
#include <endian.h>
#include <tavlib/tavlib.h>

#include <memory>
#include <stdexcept>

namespace gateway {
namespace {

constexpr unsigned all_entries = 0;  // the mask selects no field of the filter, so every entry matches

struct CloseQuery {
  void operator()(TAVQueryEnum* query) const { TAVQueryClose(query); }
};
using Query = std::unique_ptr<TAVQueryEnum, CloseQuery>;

Query start_query(unsigned long server) {
  const _TAVENTRYA filter{};
  TAVQueryEnum* query = nullptr;
  if (TAVQueryStartA(&filter, all_entries, 0, server, 0, &query) == 0) {
    throw std::runtime_error("query of " + dotted(server) + ": error " + std::to_string(TAVGetLastError()));
  }
  return Query(query);
}

std::string text_or_empty(const char* text) {
  return text == nullptr ? "" : text;
}

// The texts of an entry belong to the enumeration and change with its next step.
Place place_of(const _TAVENTRYA& entry) {
  Place place{dotted(le32toh(entry.address)), {}};
  if (entry.word12 == 0) place.user = User{text_or_empty(entry.user), text_or_empty(entry.string3)};
  return place;
}

}  // namespace

std::vector<unsigned long> configured_servers() {
  std::vector<unsigned long> servers;
  unsigned long address = 0;
  for (unsigned index = 0; TAVEnumServers(index, &address) == 1; ++index) {
    servers.push_back(address);
  }
  return servers;
}

std::string dotted(unsigned long address) {
  in_addr number{};
  number.s_addr = static_cast<in_addr_t>(address);
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &number, text, sizeof text);
  return text;
}

std::optional<unsigned> version_of(unsigned long server) {
  unsigned version = 0;
  if (TAVQueryVersion(server, &version) == 0) return std::nullopt;
  return version;
}

std::vector<Place> entries_of(unsigned long server) {
  const Query query = start_query(server);
  std::vector<Place> places;
  _TAVENTRYA entry{};
  while (TAVQueryNextA(query.get(), &entry) == 1) {
    places.push_back(place_of(entry));
  }
  if (TAVGetLastError() != TAV_E_NOMORE) {
    throw std::runtime_error("entries of " + dotted(server) + ": error " + std::to_string(TAVGetLastError()));
  }
  return places;
}

bool add_entry(const Place& place) {
  constexpr int taken_by_all = 2;
  std::string user = place.user.name;
  std::string group = place.user.group;
  _TAVENTRYA entry{};
  entry.address = number_of(place.address);
  entry.user = user.data();
  entry.string3 = group.data();
  return TAVAddEntryA(&entry) == taken_by_all;
}

}  // namespace gateway
