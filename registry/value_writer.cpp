// From the bytes of a value to its line in a registry file.

#include "registry/failure.h"

#include <tavlib/registry/registry_data.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

// The bytes of a value from `start` up to its first zero byte or its end.
std::string_view text_at(const ARegistryData::Entry& entry, std::size_t start) {
  const char* bytes = reinterpret_cast<const char*>(entry.data);
  if (start >= entry.size) return {};
  return {bytes + start, strnlen(bytes + start, entry.size - start)};
}

// Errors stay in the stream, where the commit checks for them.
void put(std::FILE* file, char character) {
  static_cast<void>(std::fputc(character, file));
}

void write_quoted(std::FILE* file, std::string_view text, char quote) {
  put(file, quote);
  for (const char character : text) {
    if (character == quote || character == '\\') put(file, '\\');
    put(file, character);
  }
  put(file, quote);
}

void write_list(std::FILE* file, const ARegistryData::Entry& entry) {
  std::size_t start = 0;
  for (std::string_view text = text_at(entry, 0); !text.empty(); text = text_at(entry, start)) {
    write_quoted(file, text, '\'');
    start += text.size() + 1;
  }
}

void write_number(std::FILE* file, const ARegistryData::Entry& entry) {
  std::uint32_t number = 0;
  if (entry.size != 0) std::memcpy(&number, entry.data, std::min<std::size_t>(entry.size, sizeof number));
  static_cast<void>(std::fprintf(file, "%u", number));
}

void write_hex(std::FILE* file, std::string_view bytes) {
  static const char digits[] = "0123456789ABCDEF";
  put(file, '$');
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    put(file, digits[value >> 4U]);
    put(file, digits[value & 15U]);
  }
}

void write_value(std::FILE* file, const ARegistryData::Entry& entry) {
  switch (entry.type) {
    case REG_SZ:
      return write_quoted(file, text_at(entry, 0), '"');
    case REG_DWORD:
      return write_number(file, entry);
    case REG_MULTI_SZ:
      return write_list(file, entry);
    default:
      return write_hex(file, text_at(entry, 0));
  }
}

}  // namespace

int ARegistryData::WriteData(std::FILE* file) {
  if (file == nullptr) return tavlib::fail(tavlib::kBadAddress);
  for (std::uint32_t i = 0; i < count; ++i) {
    static_cast<void>(std::fprintf(file, "%s=", entries[i].name));
    write_value(file, entries[i]);
    put(file, '\n');
  }
  return 1;
}
