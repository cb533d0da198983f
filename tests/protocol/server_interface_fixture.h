#ifndef TAVLIB_TESTS_PROTOCOL_SERVER_INTERFACE_FIXTURE_H
#define TAVLIB_TESTS_PROTOCOL_SERVER_INTERFACE_FIXTURE_H

#include <gtest/gtest.h>
#include <tavlib/protocol/server_interface.h>

#include <algorithm>
#include <cstring>

#include "support/fake_server.h"
#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavtest {

/// The transport with its tables open to view.
class OpenTransport : public ServerInterface {
 public:
  using ServerInterface::requests;
  using ServerInterface::ServerInterface;
  using ServerInterface::settled;
};

/// The first `size` bytes of a packet's memory.
inline Bytes memory_of(const _TAVPACKET& packet, std::size_t size = sizeof(_TAVPACKET)) {
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(&packet);
  return Bytes(bytes, bytes + size);
}

/// Lays `bytes` over the beginning of a packet's memory.
inline void load(_TAVPACKET& packet, const Bytes& bytes) {
  std::memcpy(&packet, bytes.data(), bytes.size());
}

/// `bytes` followed by `fill` up to a packet's 4096.
inline Bytes filled_up(Bytes bytes, std::uint8_t fill) {
  bytes.resize(sizeof(_TAVPACKET), fill);
  return bytes;
}

/// A reply to `request` that fills `length` bytes with a pattern, sealed.
inline Bytes sealed_reply(const FakeServer::Request& request, const std::string& secret,
                          std::size_t length = 100) {
  Bytes reply = make_packet(static_cast<std::uint8_t>(request.code() | 0x80), request.id(), length);
  for (std::size_t i = 28; i < length; ++i)
    reply[i] = static_cast<std::uint8_t>(i * 7 + 3);
  return seal_reply(reply, secret);
}

/// A server, and a transport to it.
class TransportTest : public ::testing::Test {
 protected:
  using Request = ServerInterface::ASyncRequest;

  static constexpr const char* secret = "Sesame street";

  /// Sends `request` with a packet of this code and length, and gives what the server got.
  FakeServer::Request start(Request& request, std::uint8_t code = 1, std::size_t length = 100) {
    load(request.packet, make_packet(code, 0, length));
    EXPECT_EQ(transport.StartRequest(&request), 14U);
    return server.receive();
  }

  FakeServer server{secret};
  OpenTransport transport{server.address_number(), server.port(), secret};
};

}  // namespace tavtest

#endif
