#ifndef TAVSIM_PACKET_H
#define TAVSIM_PACKET_H

#include <array>
#include <cstdint>
#include <string>

#include "tavsim/bytes.h"
#include "tavsim/crypto.h"
#include "tavsim/entry.h"

namespace tavsim {

constexpr std::size_t minimum_packet = 100;
constexpr std::size_t maximum_packet = 4096;

constexpr std::size_t length_offset = 0;
constexpr std::size_t code_offset = 4;
constexpr std::size_t id_offset = 8;
constexpr std::size_t digest_offset = 12;
constexpr std::size_t arguments_offset = 28;
constexpr std::size_t reply_entry_offset = 32;  ///< After the count word; an added entry stands there, too.
constexpr std::size_t query_entry_offset = 40;  ///< After the three argument words.
constexpr std::size_t data_offset = 96;

enum Operation : std::uint8_t {
  operation_version = 1,
  operation_add = 2,
  operation_query = 3,
  operation_listen = 4,
  operation_stop_listening = 5
};

enum ReplyFlag : std::uint8_t { reply_final = 0x80, reply_error = 0x40, reply_interim = 0x20 };

/// The packet inside a datagram, or the reason why there is none.
struct Opened {
  Bytes packet;
  std::string refusal;  ///< Empty when the packet is good.
};

/// Undoes a request's framing: checks the length prefix, deciphers, checks length, padding and digest.
Opened open_datagram(ByteView datagram, const Crypto& crypto);

/// One verified request.
struct Request {
  std::uint8_t code = 0;
  std::uint32_t id = 0;
  std::uint32_t length = 0;
  std::array<std::uint32_t, 3> arguments{};  ///< Query only.
  std::uint16_t port = 0;                    ///< Listen only.
  Entry entry;                               ///< Add: the new entry. Query: the cursor.
  std::string problem;                       ///< Not empty: the request cannot be carried out.
};

/// Takes a packet apart that `open_datagram` has let through.
Request decode_request(ByteView packet);

/// A reply of the least length that carries the request's id, its code with `flags`, and zeros.
Bytes status_reply(const Request& request, unsigned flags);

/// A final reply with one word at offset 28: a version, or a count of 0.
Bytes word_reply(const Request& request, std::uint32_t word);

/// A final reply with a count of 1 and one entry.
Bytes entry_reply(const Request& request, const Entry& entry);

/// Writes the digest of a finished packet.
void seal(Bytes& packet, const Crypto& crypto);

}  // namespace tavsim

#endif
