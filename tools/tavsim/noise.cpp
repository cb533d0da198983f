#include "tavsim/noise.h"

#include <algorithm>
#include <array>

#include "tavsim/packet.h"

namespace tavsim {
namespace {

constexpr std::size_t kept_replies = 64;
constexpr std::size_t longest_junk = 200;
constexpr std::array<unsigned, 3> forged_flags{reply_final, reply_final | reply_error, reply_interim};

}  // namespace

void Noise::corrupt(Bytes& datagram) {
  if (datagram.empty()) return;
  const std::size_t bit = below(datagram.size() * 8);
  datagram[bit / 8] ^= static_cast<std::uint8_t>(1U << bit % 8);
}

std::vector<Bytes> Noise::flood(std::uint32_t id, std::uint32_t count) {
  std::vector<Bytes> datagrams;
  datagrams.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t kind = i % (forged_flags.size() + 1);
    datagrams.push_back(kind == 0 ? random_bytes(below(longest_junk))
                                  : forged_reply(forged_flags[kind - 1], id));
  }
  return datagrams;
}

void Noise::remember(const Bytes& reply) {
  if (kept_.size() == kept_replies) kept_.pop_front();
  kept_.push_back(reply);
}

std::optional<Bytes> Noise::earlier() {
  if (kept_.empty()) return std::nullopt;
  return kept_[below(kept_.size())];
}

Bytes Noise::random_bytes(std::size_t size) {
  Bytes bytes(size);
  std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<std::uint8_t>(random_()); });
  return bytes;
}

// The digest is random, so that it is wrong.
Bytes Noise::forged_reply(unsigned flags, std::uint32_t id) {
  Bytes packet = random_bytes(minimum_packet);
  store_be32(packet, length_offset, minimum_packet);
  packet[code_offset] = static_cast<std::uint8_t>(operation_query | flags);
  store_be32(packet, id_offset, static_cast<std::uint32_t>(below(std::uint64_t{2} * id + 1)));
  store_be32(packet, arguments_offset, 1);
  return packet;
}

}  // namespace tavsim
