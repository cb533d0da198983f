#include "protocol/entry_layout.h"

#include <cstring>
#include <cwchar>

namespace tavlib {

namespace {

constexpr std::uint64_t kQueryDescriptorAt = 40;
constexpr std::uint64_t kFirstDescriptorAt = 32;

// The layout of the records is part of the interface: eighteen words on a 32-bit host.
static_assert(sizeof(void*) != 4 || (sizeof(_TAVENTRYA) == 72 && sizeof(_TAVENTRYW) == 72));
static_assert(sizeof(void*) != 8 || (sizeof(_TAVENTRYA) == 96 && sizeof(_TAVENTRYW) == 96));
static_assert(offsetof(_TAVENTRYA, user) == sizeof(void*) && offsetof(_TAVENTRYW, user) == sizeof(void*));
static_assert(offsetof(_TAVENTRYA, dataLength) == 5 * sizeof(void*));
static_assert(offsetof(_TAVENTRYA, string3Length) == 5 * sizeof(void*) + 12 * sizeof(std::uint32_t));
static_assert(offsetof(_TAVENTRYW, string3Length) == offsetof(_TAVENTRYA, string3Length));

}  // namespace

std::uint64_t descriptor_offset(std::uint8_t code, unsigned index) {
  if (code == TAV_REQUEST_QUERYENTRY) return kQueryDescriptorAt;
  return kFirstDescriptorAt + std::uint64_t{kDescriptorSize} * index;
}

std::size_t text_length(const char* text) {
  return text == nullptr ? 0 : std::strlen(text);
}

std::size_t text_length(const wchar_t* text) {
  return text == nullptr ? 0 : std::wcslen(text);
}

}  // namespace tavlib
