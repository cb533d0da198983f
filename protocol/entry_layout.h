#ifndef TAVLIB_ENTRY_LAYOUT_H
#define TAVLIB_ENTRY_LAYOUT_H

#include <tavlib/protocol/entry.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// How an entry is laid out in a packet, for either width of text.
namespace tavlib {

/// One of a record's three texts: the text, its cached length, and where a descriptor has its offset and
/// count.
template <typename Record>
struct TextField {
  decltype(Record::user) Record::*text;
  std::uint32_t Record::*length;
  std::size_t offsetAt;
  std::size_t countAt;
};

template <typename Record>
inline constexpr std::array<TextField<Record>, 3> kTextFields = {{
    {&Record::user, &Record::userLength, 4, 6},
    {&Record::string2, &Record::string2Length, 8, 10},
    {&Record::string3, &Record::string3Length, 12, 14},
}};

/// A word that is sent as it is, and its place in a descriptor.
template <typename Record>
struct WordField {
  std::uint32_t Record::*word;
  std::size_t at;
};

/// In a descriptor `flag8` stands after `word12`, unlike in the record.
template <typename Record>
inline constexpr std::array<WordField<Record>, 10> kWordFields = {{
    {&Record::tag, 0},
    {&Record::address, 20},
    {&Record::word7, 24},
    {&Record::word9, 28},
    {&Record::word10, 32},
    {&Record::word11, 36},
    {&Record::word12, 40},
    {&Record::flag8, 44},
    {&Record::word13, 48},
    {&Record::word14, 52},
}};

inline constexpr std::size_t kBlockOffsetAt = 16;
inline constexpr std::size_t kBlockLengthAt = 18;
inline constexpr std::size_t kDescriptorSize = 56;
inline constexpr std::size_t kCountAt = 28;
/// Four bytes are reserved for each character of a text. The characters fill the first half, two bytes each,
/// one after the other.
inline constexpr std::size_t kReservedPerCharacter = 4;
inline constexpr std::size_t kBytesPerCharacter = 2;

/// The offset of descriptor `index`: after the three arguments for an entry query, which has only one, and
/// after the count for any other.
std::uint64_t descriptor_offset(std::uint8_t code, unsigned index);

/// The character count of a text; 0 for null.
std::size_t text_length(const char* text);
std::size_t text_length(const wchar_t* text);

/// The size of a record's block in bytes: 0 when the block is null, whatever the length says.
template <typename Record>
std::uint32_t block_length(const Record& entry) {
  return entry.data == nullptr ? 0 : entry.dataLength;
}

}  // namespace tavlib

#endif
