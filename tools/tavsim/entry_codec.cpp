#include "tavsim/entry_codec.h"

#include <algorithm>

#include "tavsim/packet.h"

namespace tavsim {
namespace {

constexpr std::size_t bytes_per_character = 4;

struct TextSlot {
  std::size_t offset;  // In the descriptor: two bytes of data-area offset, two of character count.
  std::u16string Entry::*text;
};
constexpr TextSlot text_slots[] = {{4, &Entry::user}, {8, &Entry::string2}, {12, &Entry::string3}};
constexpr std::size_t data_slot = 16;

struct WordSlot {
  std::size_t offset;
  std::uint32_t Entry::*word;
};
constexpr WordSlot word_slots[] = {{0, &Entry::tag},     {20, &Entry::address}, {24, &Entry::word7},
                                   {28, &Entry::word9},  {32, &Entry::word10},  {36, &Entry::word11},
                                   {40, &Entry::word12}, {44, &Entry::flag8},   {48, &Entry::word13},
                                   {52, &Entry::word14}};

// What one slot of the descriptor points to. `fits` is true for nothing at all, wherever it would be.
struct Region {
  std::size_t start;
  std::size_t count;
  bool fits;
};

Region region_at(ByteView packet, std::size_t slot, std::size_t unit) {
  const std::size_t start = data_offset + load_be16(packet, slot);
  const std::size_t count = load_be16(packet, slot + 2);
  return {start, count, count == 0 || start + count * unit <= packet.size()};
}

std::u16string load_text(ByteView packet, const Region& region) {
  std::u16string text(region.count, u'\0');
  for (std::size_t i = 0; i < region.count; ++i) {
    const std::size_t at = region.start + 2 * i;
    text[i] = static_cast<char16_t>(packet[at] | packet[at + 1] << 8);
  }
  return text;
}

void store_text(Bytes& packet, std::size_t at, const std::u16string& text) {
  for (const char16_t unit : text) {
    packet[at++] = static_cast<std::uint8_t>(unit);
    packet[at++] = static_cast<std::uint8_t>(unit >> 8);
  }
}

void store_slot(Bytes& packet, std::size_t slot, std::size_t position, std::size_t count) {
  if (count == 0) return;
  store_be16(packet, slot, static_cast<std::uint32_t>(position));
  store_be16(packet, slot + 2, static_cast<std::uint32_t>(count));
}

}  // namespace

bool read_entry(ByteView packet, std::size_t offset, Entry& entry) {
  for (const WordSlot& slot : word_slots) {
    entry.*slot.word = load_be32(packet, offset + slot.offset);
  }
  for (const TextSlot& slot : text_slots) {
    const Region region = region_at(packet, offset + slot.offset, bytes_per_character);
    if (!region.fits) return false;
    entry.*slot.text = load_text(packet, region);
  }
  const Region block = region_at(packet, offset + data_slot, 1);
  if (!block.fits) return false;
  const ByteView bytes = block.count == 0 ? ByteView{} : packet.subspan(block.start, block.count);
  entry.data.assign(bytes.begin(), bytes.end());
  return true;
}

std::size_t entry_packet_size(const Entry& entry) {
  const std::size_t characters = entry.user.size() + entry.string2.size() + entry.string3.size();
  return minimum_packet + bytes_per_character * characters + entry.data.size();
}

void write_entry(Bytes& packet, const Entry& entry) {
  for (const WordSlot& slot : word_slots) {
    store_be32(packet, reply_entry_offset + slot.offset, entry.*slot.word);
  }
  std::size_t position = 0;
  for (const TextSlot& slot : text_slots) {
    const std::u16string& text = entry.*slot.text;
    store_slot(packet, reply_entry_offset + slot.offset, position, text.size());
    store_text(packet, data_offset + position, text);
    position += bytes_per_character * text.size();
  }
  store_slot(packet, reply_entry_offset + data_slot, position, entry.data.size());
  std::copy(entry.data.begin(), entry.data.end(),
            packet.begin() + static_cast<std::ptrdiff_t>(data_offset + position));
}

}  // namespace tavsim
