#ifndef GATEWAY_USER_H
#define GATEWAY_USER_H

#include <cstdint>
#include <string>
#include <vector>

namespace gateway {

/// Who is at an address. Both texts are empty when nobody is.
struct User {
  std::string name;
  std::string group;
};

inline bool operator==(const User& a, const User& b) {
  return a.name == b.name && a.group == b.group;
}

inline bool is_nobody(const User& user) {
  return user.name.empty() && user.group.empty();
}

/// One line of the table: an address and its user.
struct Place {
  std::string address;  ///< Dotted quad.
  User user;
};

/// The number by which entries carry a dotted quad: inet_addr's on a little-endian machine, on every host.
std::uint32_t number_of(const std::string& address);

/// Reads lines of "address, user, group". '-' is an empty text, blanks around the commas are ignored, and
/// lines that begin with '#' are comments. Throws a std::runtime_error that names the file and the line.
std::vector<Place> read_places(const std::string& path);

}  // namespace gateway

#endif
