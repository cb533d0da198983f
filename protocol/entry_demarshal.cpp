#include <tavlib/platform/error_state.h>
#include <tavlib/protocol/entry.h>

#include <cctype>
#include <cwctype>

#include "platform/error_codes.h"
#include "protocol/entry_layout.h"
#include "protocol/owned_strings.h"
#include "protocol/packet_view.h"

namespace tavlib {

namespace {

template <typename Character>
Character from_code_unit(std::uint16_t unit);

// The 8-bit form takes the low byte.
template <>
char from_code_unit<char>(std::uint16_t unit) {
  return static_cast<char>(static_cast<unsigned char>(unit));
}

template <>
wchar_t from_code_unit<wchar_t>(std::uint16_t unit) {
  return static_cast<wchar_t>(unit);
}

char upper_case(char character) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
}
wchar_t upper_case(wchar_t character) {
  return static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(character)));
}

// Received texts may end up in a host's queries, so quotes are replaced.
template <typename Character>
Character sanitised(Character character) {
  const Character upper = upper_case(character);
  return upper == Character{'\''} || upper == Character{'"'} ? Character{'.'} : upper;
}

// The header's 96 bytes are not included: a text or block may end that far past the end that the length word
// gives.
bool inside(const PacketReader& packet, std::size_t offset, std::size_t size) {
  return offset + size <= packet.be32(0);
}

template <typename Character>
bool read_text(const PacketReader& packet, std::size_t offset, std::size_t length, Character*& text) {
  if (!inside(packet, offset, length * kReservedPerCharacter)) return false;
  text = allocate_text<Character>(length + 1);
  if (text == nullptr) return false;
  for (std::size_t i = 0; i < length; ++i) {
    text[i] = sanitised(from_code_unit<Character>(packet.le16(kDataAt + offset + i * kBytesPerCharacter)));
  }
  text[length] = Character{};
  return true;
}

// A length is stored only after its text: one that claims too much must not remain in the record without a
// text.
template <typename Record>
bool read_texts(const PacketReader& packet, std::size_t at, Record& entry) {
  for (const auto& field : kTextFields<Record>) {
    const std::size_t length = packet.be16(at + field.countAt);
    if (length != 0 && !read_text(packet, packet.be16(at + field.offsetAt), length, entry.*field.text))
      return false;
    entry.*field.length = static_cast<std::uint32_t>(length);
  }
  return true;
}

bool read_bytes(const PacketReader& packet, std::size_t offset, std::size_t length, unsigned char*& data) {
  data = static_cast<unsigned char*>(std::malloc(length));
  if (data == nullptr || !inside(packet, offset, length)) return false;
  packet.copy(kDataAt + offset, {data, length});
  return true;
}

template <typename Record>
bool read_block(const PacketReader& packet, std::size_t at, Record& entry) {
  const std::size_t length = packet.be16(at + kBlockLengthAt);
  if (length != 0 && !read_bytes(packet, packet.be16(at + kBlockOffsetAt), length, entry.data)) return false;
  entry.dataLength = static_cast<std::uint32_t>(length);
  return true;
}

template <typename Record>
bool read_descriptor(const PacketReader& packet, std::uint64_t offset, Record& entry) {
  if (offset + kDescriptorSize > kPacketSize) return false;
  const auto at = static_cast<std::size_t>(offset);
  if (!read_texts(packet, at, entry) || !read_block(packet, at, entry)) return false;
  for (const auto& field : kWordFields<Record>)
    entry.*field.word = packet.be32(at + field.at);
  entry.flag8 = entry.flag8 != 0 ? 1 : 0;
  return true;
}

template <typename Record>
int demarshal(Record& entry, const _TAVPACKET& packet, unsigned index) {
  clear_pointers(entry);
  if (read_descriptor(PacketReader(packet), descriptor_offset(packet.code, index), entry)) return 1;
  DeMarshalFreeStrings(entry);
  AErrors::SetOsError(kOutOfMemory);
  return 0;
}

}  // namespace

}  // namespace tavlib

int DeMarshalTAVEntryA(_TAVENTRYA& entry, const _TAVPACKET* packet, unsigned index) {
  return tavlib::demarshal(entry, *packet, index);
}

int DeMarshalTAVEntryW(_TAVENTRYW& entry, const _TAVPACKET* packet, unsigned index) {
  return tavlib::demarshal(entry, *packet, index);
}
