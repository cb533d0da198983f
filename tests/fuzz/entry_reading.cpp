#include "fuzz/entry_reading.h"

#include <tavlib/protocol/entry.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <cwctype>
#include <optional>
#include <vector>

#include "fuzz/fuzz_target.h"

namespace tavtest {
namespace {

constexpr std::uint64_t kPacketSize = 4096;
constexpr std::uint64_t kDescriptorSize = 56;
constexpr std::uint64_t kDataArea = 96;
constexpr unsigned kNoMemory = 12;

/// A packet's bytes; those behind its end are zero.
class PacketBytes {
 public:
  explicit PacketBytes(const _TAVPACKET& packet) : bytes_(reinterpret_cast<const unsigned char*>(&packet)) {}

  unsigned at(std::uint64_t offset) const { return offset < kPacketSize ? bytes_[offset] : 0U; }
  unsigned be16(std::uint64_t offset) const { return at(offset) << 8 | at(offset + 1); }
  std::uint32_t be32(std::uint64_t offset) const { return be16(offset) << 16 | be16(offset + 2); }

 private:
  const unsigned char* bytes_;
};

using Characters = std::vector<std::uint32_t>;

struct Expected {
  std::array<Characters, 3> texts;  ///< Empty for a null text.
  Bytes block;
  std::array<std::uint32_t, 10>
      words;  ///< As they stand in the descriptor from its address on, behind its tag.
};

std::uint32_t received_character(const PacketBytes& packet, std::uint64_t at, bool wide) {
  std::uint32_t character = packet.at(at);
  if (wide) {
    character |= packet.at(at + 1) << 8;
    character = static_cast<std::uint32_t>(std::towupper(static_cast<std::wint_t>(character)));
  } else if (character >= 'a' && character <= 'z') {
    character -= 'a' - 'A';
  }
  return character == '\'' || character == '"' ? std::uint32_t{'.'} : character;
}

std::optional<Characters> expected_text(const PacketBytes& packet, std::uint64_t at, bool wide) {
  const std::uint64_t offset = packet.be16(at);
  const std::uint64_t count = packet.be16(at + 2);
  if (count != 0 && offset + 4 * count > packet.be32(0)) return std::nullopt;
  Characters text;
  for (std::uint64_t i = 0; i < count; ++i)
    text.push_back(received_character(packet, kDataArea + offset + 2 * i, wide));
  return text;
}

std::optional<Bytes> expected_block(const PacketBytes& packet, std::uint64_t at) {
  const std::uint64_t offset = packet.be16(at);
  const std::uint64_t length = packet.be16(at + 2);
  if (length != 0 && offset + length > packet.be32(0)) return std::nullopt;
  Bytes block;
  for (std::uint64_t i = 0; i < length; ++i)
    block.push_back(static_cast<std::uint8_t>(packet.at(kDataArea + offset + i)));
  return block;
}

std::optional<Expected> expected_entry(const PacketBytes& packet, unsigned index, bool wide) {
  const std::uint64_t at = packet.at(4) == 3 ? 40 : 32 + kDescriptorSize * index;
  if (at + kDescriptorSize > kPacketSize) return std::nullopt;
  Expected entry;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto text = expected_text(packet, at + 4 + 4 * i, wide);
    if (!text) return std::nullopt;
    entry.texts[i] = *text;
  }
  const auto block = expected_block(packet, at + 16);
  if (!block) return std::nullopt;
  entry.block = *block;
  entry.words[0] = packet.be32(at);
  for (std::size_t i = 1; i < entry.words.size(); ++i)
    entry.words[i] = packet.be32(at + 16 + 4 * i);
  return entry;
}

template <typename Character>
void check_text(const Character* text, std::uint32_t length, const Characters& expected) {
  expect(length == expected.size(), "a text's length");
  expect((text == nullptr) == expected.empty(), "whether there is a text");
  if (text == nullptr) return;
  for (std::size_t i = 0; i < expected.size(); ++i) {
    // An 8-bit character may be negative.
    const auto character = static_cast<std::uint32_t>(text[i]);
    expect(character == static_cast<std::uint32_t>(static_cast<Character>(expected[i])), "a character");
  }
  expect(text[expected.size()] == Character{}, "a text's terminator");
}

void check_block(const unsigned char* data, std::uint32_t length, const Bytes& expected) {
  expect(length == expected.size(), "the block's length");
  expect((data == nullptr) == expected.empty(), "whether there is a block");
  expect(expected.empty() || std::memcmp(data, expected.data(), expected.size()) == 0, "the block");
}

template <typename Record>
void check_words(const Record& entry, const std::array<std::uint32_t, 10>& words) {
  const std::array<std::uint32_t, 10> found{entry.tag,    entry.address, entry.word7,  entry.word9,
                                            entry.word10, entry.word11,  entry.word12, entry.flag8,
                                            entry.word13, entry.word14};
  std::array<std::uint32_t, 10> expected = words;
  expected[7] = expected[7] != 0 ? 1 : 0;
  expect(found == expected, "the words");
}

int demarshal(_TAVENTRYA& entry, const _TAVPACKET& packet, unsigned index) {
  return DeMarshalTAVEntryA(entry, &packet, index);
}
int demarshal(_TAVENTRYW& entry, const _TAVPACKET& packet, unsigned index) {
  return DeMarshalTAVEntryW(entry, &packet, index);
}

template <typename Record>
void check(const _TAVPACKET& packet, unsigned index, const std::optional<Expected>& expected) {
  Record entry;
  std::memset(&entry, 0xA5, sizeof entry);  // What it held before is neither used nor released.
  errno = 0;
  const int result = demarshal(entry, packet, index);
  expect(result == (expected ? 1 : 0), "the result");
  if (expected) {
    check_text(entry.user, entry.userLength, expected->texts[0]);
    check_text(entry.string2, entry.string2Length, expected->texts[1]);
    check_text(entry.string3, entry.string3Length, expected->texts[2]);
    check_block(entry.data, entry.dataLength, expected->block);
    check_words(entry, expected->words);
    DeMarshalFreeStrings(entry);
  } else {
    expect(errno == kNoMemory, "the error number");
  }
  expect(!entry.user && !entry.string2 && !entry.string3 && !entry.data, "nothing is owned any more");
}

}  // namespace

void check_reading(const _TAVPACKET& packet, unsigned index, bool wide) {
  const auto expected = expected_entry(PacketBytes(packet), index, wide);
  if (wide) {
    check<_TAVENTRYW>(packet, index, expected);
  } else {
    check<_TAVENTRYA>(packet, index, expected);
  }
}

}  // namespace tavtest
