#include <tavlib/platform/error_state.h>
#include <tavlib/protocol/entry.h>

#include <algorithm>
#include <limits>

#include "platform/error_codes.h"
#include "protocol/entry_layout.h"
#include "protocol/packet_view.h"

namespace tavlib {

namespace {

std::uint16_t code_unit(char character) {
  return static_cast<unsigned char>(character);
}
std::uint16_t code_unit(wchar_t character) {
  return static_cast<std::uint16_t>(character);
}

template <typename Record>
std::uint64_t measured_length(const Record& entry, const TextField<Record>& field) {
  const std::uint32_t cached = entry.*field.length;
  return cached != 0 ? cached : text_length(entry.*field.text);
}

// The request's size by the cached lengths, for its length word.
template <typename Record>
std::uint64_t measured_size(const Record* entries, unsigned count) {
  constexpr std::int64_t kPerFurtherEntry = 72;
  auto size = static_cast<std::uint64_t>(std::int64_t{kMinPacketLength} +
                                         kPerFurtherEntry * (std::int64_t{count} - 1));
  for (unsigned i = 0; i < count; ++i) {
    for (const auto& field : kTextFields<Record>) {
      size += kReservedPerCharacter * measured_length(entries[i], field);
    }
    size += block_length(entries[i]);
  }
  return size;
}

// How many descriptors are written. An entry query has one, whatever the count, if there is an entry at all.
template <typename Record>
unsigned descriptors_of(std::uint8_t code, const Record* entries, unsigned count) {
  if (code != TAV_REQUEST_QUERYENTRY) return count;
  return entries == nullptr ? 0 : 1;
}

// Where the request ends when the first entry's texts and block are written as they stand. Without a
// descriptor that is after the count word, although the length word does not include that.
template <typename Record>
std::uint64_t written_end(const Record* entries, unsigned descriptors) {
  if (descriptors == 0) return kCountAt + sizeof(std::uint32_t);
  const Record& entry = *entries;
  std::uint64_t end = kDataAt + block_length(entry);
  for (const auto& field : kTextFields<Record>) {
    end += kReservedPerCharacter * std::uint64_t{text_length(entry.*field.text)};
  }
  return end;
}

// Quotes are written unchanged. A character that is zero on the wire ends the text.
template <typename Character>
void write_text(PacketWriter& packet, std::size_t offset, const Character* text, std::size_t length) {
  for (std::size_t i = 0; i < length; ++i) {
    const std::uint16_t unit = code_unit(text[i]);
    if (unit == 0) return;
    packet.le16(offset + i * kBytesPerCharacter, unit);
  }
}

template <typename Record>
void write_descriptor(PacketWriter& packet, std::size_t at, const Record& entry) {
  std::size_t running = 0;
  for (const auto& field : kTextFields<Record>) {
    const auto* text = entry.*field.text;
    const std::size_t length = text_length(text);
    if (text != nullptr) {
      write_text(packet, kDataAt + running, text, length);
      packet.be16(at + field.offsetAt, static_cast<std::uint16_t>(running));
    }
    packet.be16(at + field.countAt, static_cast<std::uint16_t>(length));
    running += kReservedPerCharacter * length;
  }

  const std::uint32_t blockLength = block_length(entry);
  if (blockLength != 0) {
    packet.copy(kDataAt + running, {entry.data, blockLength});
    packet.be16(at + kBlockOffsetAt, static_cast<std::uint16_t>(running));
  }
  packet.be16(at + kBlockLengthAt, static_cast<std::uint16_t>(blockLength));

  for (const auto& field : kWordFields<Record>)
    packet.be32(at + field.at, entry.*field.word);
}

// The record pointer is not advanced: with several entries the first one is written each time.
template <typename Record>
void write_entries(_TAVPACKET& packet, const Record* entries, unsigned count) {
  PacketWriter writer(packet);
  if (packet.code != TAV_REQUEST_QUERYENTRY) writer.be32(kCountAt, count);
  const unsigned descriptors = descriptors_of(packet.code, entries, count);
  for (unsigned i = 0; i < descriptors; ++i)
    write_descriptor(writer, static_cast<std::size_t>(descriptor_offset(packet.code, i)), *entries);
}

template <typename Record>
int marshal(const Record* entries, _TAVPACKET* packet, unsigned* size, unsigned count) {
  const std::uint64_t total = measured_size(entries, count);
  if (packet == nullptr) {
    *size = static_cast<unsigned>(std::min<std::uint64_t>(total, std::numeric_limits<unsigned>::max()));
    return 1;
  }
  const std::uint64_t room = std::min<std::uint64_t>(*size, kPacketSize);
  if (total > room || written_end(entries, descriptors_of(packet->code, entries, count)) > room) {
    AErrors::SetOsError(kTooLarge);
    return 0;
  }
  set_header(*packet, static_cast<std::uint32_t>(total), packet->code);
  write_entries(*packet, entries, count);
  return 1;
}

}  // namespace

}  // namespace tavlib

int MarshalTAVEntryA(const _TAVENTRYA* entries, _TAVPACKET* packet, unsigned* size, unsigned count) {
  return tavlib::marshal(entries, packet, size, count);
}

int MarshalTAVEntryW(const _TAVENTRYW* entries, _TAVPACKET* packet, unsigned* size, unsigned count) {
  return tavlib::marshal(entries, packet, size, count);
}
