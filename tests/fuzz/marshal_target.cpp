// MarshalTAVEntryA and W on any records, cached lengths that are out of date included. What was written is
// read back.
//
// Input: code byte, count, room (2 bytes), a byte of flags for how the length of the first record's block is
// told, then the records: for each text a byte of flags, its length (2 bytes), a cached length (4 bytes) and
// some characters that are repeated; the block's length (2 bytes) and its first byte; the words.

#include <tavlib/protocol/entry.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <type_traits>
#include <vector>

#include "fuzz/entry_reading.h"
#include "fuzz/fuzz_target.h"
#include "support/wire_packet.h"

namespace tavtest {
namespace {

constexpr std::size_t kPacketSize = 4096;
constexpr std::size_t kDataArea = 96;
constexpr std::size_t kDescriptorSize = 56;
constexpr std::size_t kDifferentRecords = 3;
constexpr unsigned kTooLarge = 79;
constexpr std::uint8_t kQuery = 3;

template <typename Character>
using Text = std::vector<Character>;

/// A text without zeros, and its terminator. The characters of the input are repeated up to its length.
template <typename Character>
Text<Character> make_text(Input& input) {
  const std::size_t length = input.be16() % 1100U;
  Text<Character> pattern;
  for (std::size_t left = input.byte() % 16U + 1U; left > 0; --left) {
    std::uint32_t character = input.byte();
    if (sizeof(Character) > 1) character |= std::uint32_t{input.be16()} << 8;
    pattern.push_back(static_cast<Character>(character == 0 ? 'x' : character));
  }
  Text<Character> text(length + 1);
  for (std::size_t i = 0; i < length; ++i)
    text[i] = pattern[i % pattern.size()];
  return text;
}

/// A record and the memory behind it.
template <typename Record>
struct OwnedRecord {
  using Character = std::remove_pointer_t<decltype(Record::user)>;

  explicit OwnedRecord(Input& input) {
    read_text(input, 0, record.user, record.userLength);
    read_text(input, 1, record.string2, record.string2Length);
    read_text(input, 2, record.string3, record.string3Length);
    read_block(input);
    for (std::uint32_t* word :
         {&record.tag, &record.address, &record.word7, &record.word9, &record.word10, &record.word11,
          &record.word12, &record.flag8, &record.word13, &record.word14})
      *word = input.be32();
  }

  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;

  /// Characters in text `i` as they stand.
  std::size_t characters(std::size_t i) const { return texts[i].empty() ? 0 : texts[i].size() - 1; }

  std::uint32_t block_length() const { return record.data == nullptr ? 0 : record.dataLength; }

  Record record{};
  std::array<Text<Character>, 3> texts;
  Bytes block;

 private:
  void read_text(Input& input, std::size_t i, Character*& text, std::uint32_t& cached) {
    const unsigned flags = input.byte();
    if ((flags & 1) != 0) {
      texts[i] = make_text<Character>(input);
      text = texts[i].data();
    }
    cached = (flags & 2) != 0 ? input.be32() : 0;
    if ((flags & 4) != 0) cached = static_cast<std::uint32_t>(characters(i));
  }

  void read_block(Input& input) {
    const unsigned flags = input.byte();
    const std::uint8_t first = input.byte();
    record.dataLength = (flags & 2) != 0 ? input.be32() : input.be16() % 5000U;
    if ((flags & 1) == 0) return;
    // No packet has room for more than 4096, so the memory behind a longer block is never looked at.
    block.resize(std::min<std::size_t>(record.dataLength, kPacketSize) + 1);
    block.pop_back();
    block.shrink_to_fit();
    for (std::size_t i = 0; i < block.size(); ++i)
      block[i] = static_cast<std::uint8_t>(first + i);
    record.data = block.data();
  }
};

template <typename Record>
std::uint64_t measured(const OwnedRecord<Record>& owned) {
  const Record& record = owned.record;
  const std::array<std::uint32_t, 3> cached{record.userLength, record.string2Length, record.string3Length};
  std::uint64_t size = owned.block_length();
  for (std::size_t i = 0; i < 3; ++i)
    size += 4 * (cached[i] != 0 ? cached[i] : std::uint64_t{owned.characters(i)});
  return size;
}

template <typename Record>
std::uint64_t really_needed(const OwnedRecord<Record>& owned) {
  std::uint64_t end = kDataArea + owned.block_length();
  for (std::size_t i = 0; i < 3; ++i)
    end += 4 * owned.characters(i);
  return end;
}

template <typename Character>
void write_characters(Bytes& packet, std::size_t at, const Text<Character>& text) {
  for (const Character character : text) {
    const auto unit = static_cast<std::uint32_t>(character);
    if ((unit & (sizeof(Character) > 1 ? 0xFFFF : 0xFF)) == 0) return;
    packet.at(at++) = static_cast<std::uint8_t>(unit & 0xFF);
    packet.at(at++) = static_cast<std::uint8_t>(sizeof(Character) > 1 ? unit >> 8 & 0xFF : 0);
  }
}

/// One descriptor and its data, in the order in which they are written: descriptors may overlap the data.
template <typename Record>
void write_descriptor(Bytes& packet, std::size_t at, const OwnedRecord<Record>& owned) {
  std::size_t running = 0;
  for (std::size_t i = 0; i < 3; ++i) {
    if (!owned.texts[i].empty()) {
      write_characters(packet, kDataArea + running, owned.texts[i]);
      put_be16(packet, at + 4 + 4 * i, static_cast<std::uint16_t>(running));
    }
    put_be16(packet, at + 6 + 4 * i, static_cast<std::uint16_t>(owned.characters(i)));
    running += 4 * owned.characters(i);
  }
  if (owned.block_length() != 0) {
    std::copy(owned.block.begin(), owned.block.end(),
              packet.begin() + static_cast<std::ptrdiff_t>(kDataArea + running));
    put_be16(packet, at + 16, static_cast<std::uint16_t>(running));
  }
  put_be16(packet, at + 18, static_cast<std::uint16_t>(owned.block_length()));
  const Record& r = owned.record;
  put_be32(packet, at, r.tag);
  const std::array words{r.address, r.word7, r.word9,  r.word10, r.word11,
                         r.word12,  r.flag8, r.word13, r.word14};
  for (std::size_t i = 0; i < words.size(); ++i)
    put_be32(packet, at + 20 + 4 * i, words[i]);
}

int marshal(const _TAVENTRYA* entries, _TAVPACKET* packet, unsigned* size, unsigned count) {
  return MarshalTAVEntryA(entries, packet, size, count);
}
int marshal(const _TAVENTRYW* entries, _TAVPACKET* packet, unsigned* size, unsigned count) {
  return MarshalTAVEntryW(entries, packet, size, count);
}

template <typename Record>
class Marshalling {
 public:
  explicit Marshalling(Input& input)
      : code_(input.byte()), count_(input.byte() % 60U), room_(input.be16() % 5000U) {
    if (room_ == 0) room_ = kPacketSize;
    while (owned_.size() < kDifferentRecords)
      owned_.push_back(std::make_unique<OwnedRecord<Record>>(input));
    for (std::size_t i = 0; i < std::max(count_, 1U); ++i)
      entries_.push_back(owned_[i % kDifferentRecords]->record);
    total_ = 28;
    for (std::size_t i = 0; i < count_; ++i)
      total_ += 72 + measured(*owned_[i % kDifferentRecords]);
  }

  void check_measuring() const {
    unsigned size = 0;
    expect(marshal(entries_.data(), nullptr, &size, count_) == 1, "measuring gives 1");
    expect(size == std::min<std::uint64_t>(total_, 0xFFFFFFFFU), "the measured size");
  }

  void check_writing() const {
    _TAVPACKET packet;
    std::memset(&packet, 0xC3, sizeof packet);
    packet.code = code_;
    const Bytes before = bytes_of(packet);
    unsigned size = room_;
    errno = 0;
    const int result = marshal(entries_.data(), &packet, &size, count_);
    expect(size == room_, "the room is left alone");
    if (fits()) {
      expect(result == 1, "what fits is written");
      expect(bytes_of(packet) == expected(before), "the packet");
      check_reading(packet, 0, false);
      check_reading(packet, 0, true);
    } else {
      expect(result == 0 && errno == kTooLarge, "what does not fit is refused");
      expect(bytes_of(packet) == before, "a refusal writes nothing");
    }
  }

 private:
  static Bytes bytes_of(const _TAVPACKET& packet) {
    const auto* first = reinterpret_cast<const std::uint8_t*>(&packet);
    return {first, first + sizeof packet};
  }

  /// An entry query writes its one entry whatever the count.
  bool writes_an_entry() const { return code_ == kQuery || count_ != 0; }

  bool fits() const {
    const std::size_t room = std::min<std::size_t>(room_, kPacketSize);
    const std::uint64_t end = writes_an_entry() ? really_needed(*owned_[0]) : 32;
    return total_ <= room && end <= room;
  }

  Bytes expected(Bytes packet) const {
    put_be32(packet, 0, static_cast<std::uint32_t>(total_));
    if (code_ == kQuery) {
      write_descriptor(packet, 40, *owned_[0]);
      return packet;
    }
    put_be32(packet, 28, count_);
    for (std::size_t i = 0; i < count_; ++i)
      write_descriptor(packet, 32 + kDescriptorSize * i, *owned_[0]);
    return packet;
  }

  std::uint8_t code_;
  unsigned count_;
  unsigned room_;
  std::vector<std::unique_ptr<OwnedRecord<Record>>> owned_;
  std::vector<Record> entries_;
  std::uint64_t total_ = 0;
};

template <typename Record>
void try_marshalling(Input input) {
  const Marshalling<Record> marshalling(input);
  marshalling.check_measuring();
  marshalling.check_writing();
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::Input input(data, size);
  tavtest::try_marshalling<_TAVENTRYA>(input);
  tavtest::try_marshalling<_TAVENTRYW>(input);
  return 0;
}
