#include "tavsim/entries_file.h"

#include <arpa/inet.h>
#include <endian.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>

#include "tavsim/entry_codec.h"
#include "tavsim/input_error.h"
#include "tavsim/packet.h"

namespace tavsim {
namespace {

using Json = nlohmann::json;

// The readers of single values throw without saying where; read_entry_object adds the entry and the field.
class BadValue : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

const std::string& text_of(const Json& value) {
  if (!value.is_string()) throw BadValue("must be a text");
  return value.get_ref<const std::string&>();
}

// The JSON parser lets only well-formed UTF-8 through.
std::u16string units_of(const std::string& utf8) {
  std::u16string units;
  for (std::size_t i = 0; i < utf8.size();) {
    const auto lead = static_cast<unsigned char>(utf8[i++]);
    if (lead >= 0xf0) throw BadValue("has a character above U+FFFF");
    unsigned unit = lead < 0x80 ? lead : lead < 0xe0 ? lead & 0x1fU : lead & 0x0fU;
    for (int more = lead < 0x80 ? 0 : lead < 0xe0 ? 1 : 2; more > 0; --more) {
      unit = unit << 6 | (static_cast<unsigned char>(utf8[i++]) & 0x3fU);
    }
    units += static_cast<char16_t>(unit);
  }
  return units;
}

std::uint32_t number_of(const Json& value) {
  const bool good =
      value.is_number_unsigned() && value.get<std::uint64_t>() <= std::numeric_limits<std::uint32_t>::max();
  if (!good) throw BadValue("must be a whole number from 0 to 4294967295");
  return value.get<std::uint32_t>();
}

std::uint32_t flag_of(const Json& value) {
  if (value.is_boolean()) return value.get<bool>() ? 1 : 0;
  return number_of(value);
}

std::uint32_t address_of(const Json& value) {
  in_addr address{};
  const std::string& text = text_of(value);
  const bool whole = text.find('\0') == std::string::npos;
  if (!whole || inet_pton(AF_INET, text.c_str(), &address) != 1) throw BadValue("must be a dotted quad");
  return le32toh(address.s_addr);
}

std::uint8_t digit_of(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<std::uint8_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<std::uint8_t>(digit - 'a' + 10);
  if (digit >= 'A' && digit <= 'F') return static_cast<std::uint8_t>(digit - 'A' + 10);
  throw BadValue("must be pairs of hex digits");
}

Bytes block_of(const Json& value) {
  const std::string& hex = text_of(value);
  if (hex.size() % 2 != 0) throw BadValue("must be pairs of hex digits");
  Bytes block;
  for (std::size_t i = 0; i < hex.size(); i += 2) {
    block.push_back(static_cast<std::uint8_t>(digit_of(hex[i]) << 4 | digit_of(hex[i + 1])));
  }
  return block;
}

struct Field {
  const char* name;
  void (*read)(Entry& entry, const Json& value);
};

template <std::u16string Entry::*text>
void read_text(Entry& entry, const Json& value) {
  entry.*text = units_of(text_of(value));
}

template <std::uint32_t Entry::*word, std::uint32_t (*convert)(const Json&) = number_of>
void read_word(Entry& entry, const Json& value) {
  entry.*word = convert(value);
}

void read_data(Entry& entry, const Json& value) {
  entry.data = block_of(value);
}

constexpr Field fields[] = {
    {"user", read_text<&Entry::user>},       {"string2", read_text<&Entry::string2>},
    {"string3", read_text<&Entry::string3>}, {"address", read_word<&Entry::address, address_of>},
    {"word7", read_word<&Entry::word7>},     {"flag8", read_word<&Entry::flag8, flag_of>},
    {"word9", read_word<&Entry::word9>},     {"word10", read_word<&Entry::word10>},
    {"word11", read_word<&Entry::word11>},   {"word12", read_word<&Entry::word12>},
    {"word13", read_word<&Entry::word13>},   {"word14", read_word<&Entry::word14>},
    {"tag", read_word<&Entry::tag>},         {"data", read_data}};

[[noreturn]] void refuse(std::size_t number, const std::string& why) {
  throw InputError("entry " + std::to_string(number) + ": " + why);
}

void read_field(Entry& entry, std::size_t number, const std::string& name, const Json& value) {
  const Field* field = std::find_if(std::begin(fields), std::end(fields),
                                    [&](const Field& known) { return name == known.name; });
  if (field == std::end(fields)) refuse(number, "field \"" + name + "\": unknown");
  try {
    field->read(entry, value);
  } catch (const BadValue& bad) {
    refuse(number, "field \"" + name + "\": " + bad.what());
  }
}

Entry read_entry_object(const Json& object, std::size_t number) {
  if (!object.is_object()) refuse(number, "must be an object");
  if (!object.contains("address")) refuse(number, "field \"address\": missing");
  Entry entry;
  for (const auto& [name, value] : object.items()) {
    read_field(entry, number, name, value);
  }
  const std::size_t size = entry_packet_size(entry);
  if (size > maximum_packet) {
    refuse(number,
           "needs " + std::to_string(size) + " bytes, and a packet has " + std::to_string(maximum_packet));
  }
  return entry;
}

}  // namespace

std::vector<Entry> read_entries(std::istream& input) {
  Json list;
  try {
    list = Json::parse(input);
  } catch (const Json::exception& bad) {
    throw InputError(std::string("not JSON: ") + bad.what());
  }
  if (!list.is_array()) throw InputError("must be an array of entries");
  std::vector<Entry> entries;
  for (const Json& object : list) {
    entries.push_back(read_entry_object(object, entries.size() + 1));
  }
  return entries;
}

std::vector<Entry> load_entries(const std::string& path) {
  std::ifstream input(path);
  if (!input) throw InputError(path + ": " + std::strerror(errno));
  try {
    return read_entries(input);
  } catch (const std::runtime_error& bad) {  // Also thrown by the stream, as for a directory.
    throw InputError(path + ": " + bad.what());
  }
}

}  // namespace tavsim
