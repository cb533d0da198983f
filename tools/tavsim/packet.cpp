#include "tavsim/packet.h"

#include <algorithm>

#include "tavsim/entry_codec.h"

namespace tavsim {
namespace {

constexpr std::size_t prefix_size = 4;
constexpr std::size_t block_size = 8;
constexpr unsigned code_bits = 0x1f;  // What a reply's flags leave of the code byte.

std::size_t framed_size(std::size_t length) {
  return (length / block_size + 1) * block_size;
}

bool is_framed(ByteView datagram) {
  return datagram.size() >= prefix_size + block_size && datagram.size() % block_size == prefix_size &&
         load_be32(datagram, 0) == datagram.size() - prefix_size &&
         datagram.size() - prefix_size <= framed_size(maximum_packet);
}

bool has_good_digest(ByteView packet, const Crypto& crypto) {
  const Digest digest = crypto.packet_digest(packet);
  return std::equal(digest.begin(), digest.end(), packet.begin() + digest_offset);
}

const char* check(ByteView plain, const Crypto& crypto) {
  const std::size_t length = load_be32(plain, length_offset);
  if (length < minimum_packet || length > maximum_packet) return "bad length word or wrong pass phrase";
  if (plain.size() != framed_size(length)) return "length word and framing disagree";
  const auto is_zero = [](std::uint8_t byte) { return byte == 0; };
  const ByteView padding = plain.subspan(length);
  if (!std::all_of(padding.begin(), padding.end(), is_zero)) return "padding is not zero";
  return has_good_digest(plain.first(length), crypto) ? "" : "wrong digest";
}

void decode_entry(Request& request, ByteView packet, std::size_t offset) {
  if (!read_entry(packet, offset, request.entry)) request.problem = "entry reaches past the packet";
}

void decode_add(Request& request, ByteView packet) {
  const std::uint32_t count = load_be32(packet, arguments_offset);
  decode_entry(request, packet, reply_entry_offset);
  if (count != 1) request.problem = "entry count is " + std::to_string(count);
}

void decode_query(Request& request, ByteView packet) {
  for (std::size_t i = 0; i < request.arguments.size(); ++i) {
    request.arguments[i] = load_be32(packet, arguments_offset + 4 * i);
  }
  decode_entry(request, packet, query_entry_offset);
}

}  // namespace

Opened open_datagram(ByteView datagram, const Crypto& crypto) {
  Opened opened;
  if (!is_framed(datagram)) {
    opened.refusal = "bad framing";
    return opened;
  }
  opened.packet.assign(datagram.begin() + prefix_size, datagram.end());
  crypto.decipher(opened.packet);
  opened.refusal = check(opened.packet, crypto);
  if (opened.refusal.empty()) opened.packet.resize(load_be32(opened.packet, length_offset));
  return opened;
}

Request decode_request(ByteView packet) {
  Request request;
  request.code = packet[code_offset];
  request.id = load_be32(packet, id_offset);
  request.length = load_be32(packet, length_offset);
  switch (request.code) {
    case operation_version:
    case operation_stop_listening:
      break;
    case operation_add:
      decode_add(request, packet);
      break;
    case operation_query:
      decode_query(request, packet);
      break;
    case operation_listen:
      request.port = load_be16(packet, arguments_offset);
      break;
    default:
      request.problem = "unknown request code";
  }
  return request;
}

Bytes status_reply(const Request& request, unsigned flags) {
  Bytes packet(minimum_packet);
  store_be32(packet, length_offset, minimum_packet);
  packet[code_offset] = static_cast<std::uint8_t>((request.code & code_bits) | flags);
  store_be32(packet, id_offset, request.id);
  return packet;
}

Bytes word_reply(const Request& request, std::uint32_t word) {
  Bytes packet = status_reply(request, reply_final);
  store_be32(packet, arguments_offset, word);
  return packet;
}

Bytes entry_reply(const Request& request, const Entry& entry) {
  Bytes packet = word_reply(request, 1);
  packet.resize(entry_packet_size(entry));
  store_be32(packet, length_offset, static_cast<std::uint32_t>(packet.size()));
  write_entry(packet, entry);
  return packet;
}

void seal(Bytes& packet, const Crypto& crypto) {
  const Digest digest = crypto.packet_digest(packet);
  std::copy(digest.begin(), digest.end(), packet.begin() + digest_offset);
}

}  // namespace tavsim
