// From the text of a value, as it stands after the '=' on a line, to its bytes.

#include "registry/blocks.h"
#include "registry/failure.h"

#include <tavlib/registry/registry_data.h>

#include <string>

using tavlib::fail;

namespace {

int store(ARegistryData::Entry& entry, std::uint32_t type, const void* bytes, std::size_t size) {
  entry.data = static_cast<unsigned char*>(tavlib::copy_block(bytes, size));
  entry.type = type;
  entry.size = static_cast<std::uint32_t>(size);
  return 1;
}

// The text after its first character, which marks the type.
const char* after_mark(const char* text) {
  return *text == '\0' ? text : text + 1;
}

// Appends the characters up to an unescaped `quote` or the end of the text, and returns where that is. A
// backslash makes the next character an ordinary one.
const char* read_quoted(const char* text, char quote, std::string& result) {
  for (; *text != '\0' && *text != quote; ++text) {
    if (*text == '\\' && *++text == '\0') break;
    result.push_back(*text);
  }
  return text;
}

// The value of a hexadecimal digit, or -1.
int hex_value(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  return -1;
}

}  // namespace

int ARegistryData::ParseREG_SZ(Entry& entry, const char* text) {
  if (text == nullptr) return fail(tavlib::kBadAddress);
  std::string result;
  read_quoted(after_mark(text), '"', result);
  return store(entry, REG_SZ, result.c_str(), result.size() + 1);
}

int ARegistryData::ParseREG_MULTI_SZ(Entry& entry, const char* text) {
  if (text == nullptr) return fail(tavlib::kBadAddress);
  std::string result;
  const char* next = after_mark(text);
  while (*(next = read_quoted(next, '\'', result)) != '\0') {
    result.push_back('\0');
    do {
      ++next;
    } while (*next != '\0' && *next != '\'');
    next = after_mark(next);
  }
  // The list ends with a zero byte. The size has always included one more, and callers see it.
  result.append(2, '\0');
  return store(entry, REG_MULTI_SZ, result.data(), result.size());
}

int ARegistryData::ParseREG_DWORD(Entry& entry, const char* text) {
  if (text == nullptr) return fail(tavlib::kBadAddress);
  std::uint32_t number = 0;
  for (; *text >= '0' && *text <= '9'; ++text)
    number = number * 10 + static_cast<std::uint32_t>(*text - '0');
  return store(entry, REG_DWORD, &number, sizeof number);
}

int ARegistryData::ParseREG_BINARY(Entry& entry, const char* text) {
  if (text == nullptr) return fail(tavlib::kBadAddress);
  std::string result;
  for (const char* digits = after_mark(text); *digits != '\0'; digits += 2) {
    const int high = hex_value(digits[0]);
    const int low = hex_value(digits[1]);
    if (high < 0 || low < 0) break;
    result.push_back(static_cast<char>(high * 16 + low));
  }
  return store(entry, REG_BINARY, result.data(), result.size());
}
