#include "faults/network/users.h"

#include <arpa/inet.h>
#include <endian.h>

namespace tavtest {
namespace {

constexpr unsigned first_address = 0x0a140001;  // 10.20.0.1

std::string dotted(unsigned index) {
  const unsigned address = first_address + index;
  return "10.20." + std::to_string(address >> 8 & 0xff) + "." + std::to_string(address & 0xff);
}

std::string field(const char* name, const std::string& text) {
  return std::string(", \"") + name + "\": \"" + text + "\"";
}

}  // namespace

Users::Users(unsigned addresses) {
  for (unsigned index = 0; index < addresses; ++index) {
    add(index);
  }
  entries_ = "[" + entries_ + "\n]";
}

unsigned long Users::address(unsigned index) const {
  return htole32(htonl(first_address + index));
}

// Texts are received in upper case, with a dot for each quote.
void Users::add(unsigned index) {
  const std::string number = std::to_string(index);
  const std::string longer(index % 40, 'x');
  switch (index % 8) {
    case 3:
      users_.push_back({"", ""});
      return;
    case 5:
      users_.push_back({"", ""});
      return add_entry(index, field("user", "Gone " + number) + ", \"word12\": 1");
    case 6:
      users_.push_back({"USER " + number, ""});
      return add_entry(index, field("user", "user " + number));
    case 7:
      users_.push_back({"FINN O.LEARY " + number, "UNIT." + number});
      return add_entry(index, field("user", "Finn O'Leary " + number) + field("string3", "Unit'" + number));
    default:
      users_.push_back({"USER " + number, "GROUP " + number + std::string(index % 40, 'X')});
      return add_entry(index, field("user", "User " + number) + field("string2", "u" + number) +
                                  field("string3", "Group " + number + longer));
  }
}

void Users::add_entry(unsigned index, const std::string& fields) {
  with_entry_.push_back(index);
  entries_ += entries_.empty() ? "\n" : ",\n";
  entries_ += "  {\"address\": \"" + dotted(index) + "\"" + fields + "}";
}

}  // namespace tavtest
