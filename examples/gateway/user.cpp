#include "user.h"

#include <arpa/inet.h>
#include <endian.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace gateway {
namespace {

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

// The next field; '-' is an empty one. Throws when there is none.
std::string next_field(std::istringstream& line) {
  std::string field;
  if (!std::getline(line, field, ',')) throw std::runtime_error("needs an address, a user and a group");
  field = trimmed(field);
  return field == "-" ? "" : field;
}

Place read_place(const std::string& text) {
  std::istringstream line(text);
  Place place;
  place.address = next_field(line);
  place.user.name = next_field(line);
  place.user.group = next_field(line);
  if (inet_addr(place.address.c_str()) == INADDR_NONE) {
    throw std::runtime_error("\"" + place.address + "\" is no address");
  }
  return place;
}

}  // namespace

std::uint32_t number_of(const std::string& address) {
  return htole32(inet_addr(address.c_str()));
}

std::vector<Place> read_places(const std::string& path) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error(path + ": cannot be read");
  std::vector<Place> places;
  std::string line;
  for (int number = 1; std::getline(file, line); ++number) {
    if (line.empty() || line.front() == '#') continue;
    try {
      places.push_back(read_place(line));
    } catch (const std::runtime_error& bad) {
      throw std::runtime_error(path + ", line " + std::to_string(number) + ": " + bad.what());
    }
  }
  return places;
}

}  // namespace gateway
