#ifndef TAVLIB_TESTS_SUPPORT_FAKE_SERVER_H
#define TAVLIB_TESTS_SUPPORT_FAKE_SERVER_H

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "support/bytes.h"
#include "support/config_file.h"
#include "support/wire_packet.h"

namespace tavtest {

/// A scripted TAV server in the test's own process: it does nothing but what the test tells it to, step by
/// step. On loopback a datagram has arrived when sendto returns, so nothing here needs to wait for the
/// library in the same process.
///
///   FakeServer server("secret");
///   ... the code under test sends a request ...
///   auto request = server.receive();
///   server.reply_version(request, 0x01020304);
class FakeServer {
 public:
  /// A request that arrived: the datagram as it came, its sender, and the packet that was in it.
  struct Request {
    Bytes datagram;
    sockaddr_in sender{};
    Bytes packet;

    std::uint8_t code() const { return packet.at(4); }
    std::uint32_t id() const { return get_be32(packet, 8); }
  };

  /// Listens on a free port of `address`, which lies in 127.0.0.0/8.
  explicit FakeServer(std::string passphrase, const std::string& address = "127.0.0.1");
  ~FakeServer();

  FakeServer(const FakeServer&) = delete;
  FakeServer& operator=(const FakeServer&) = delete;

  const std::string& address() const { return address_; }
  std::uint16_t port() const { return port_; }  ///< In host order.
  unsigned long address_number() const;         ///< As inet_addr gives it.
  const std::string& passphrase() const { return passphrase_; }
  ConfiguredServer configured() const { return {address_, port_, passphrase_}; }

  /// The oldest request that was not received yet. Throws std::runtime_error when none comes within `limit`,
  /// or when it is not framed, enciphered and digested exactly as prescribed.
  Request receive(std::chrono::milliseconds limit = std::chrono::seconds(5));

  /// The same without looking into the datagram, for requests that cannot be opened; `packet` stays empty, so
  /// the replies below cannot be used. Nothing when none comes within `limit`.
  std::optional<Request> receive_unopened(std::chrono::milliseconds limit = std::chrono::milliseconds(0));

  /// Whether no request is waiting to be received.
  bool is_idle() const;

  /// Final replies with a right digest: code byte of the request with 0x80, and the request's id.
  void reply_status(const Request& request);                          ///< No arguments.
  void reply_version(const Request& request, std::uint32_t version);  ///< Version word at 28.
  void reply_entry(const Request& request, const WireEntry& entry);   ///< Count 1 at 28, the entry at 32.
  void reply_no_entry(const Request& request);                        ///< Count 0 at 28.

  void reply_error(const Request& request);       ///< Flags 0x80 and 0x40.
  void reply_interim(const Request& request);     ///< Flag 0x20.
  void reply_bad_digest(const Request& request);  ///< A final reply whose digest has one bit wrong.

  /// `packet`, sealed with the server's pass phrase, to the request's sender.
  void reply_packet(const Request& request, const Bytes& packet);

  /// `datagram` just as it is, to the request's sender.
  void send_raw(const Request& request, const Bytes& datagram);

 private:
  std::string passphrase_;
  std::string address_;
  int socket_;
  std::uint16_t port_ = 0;
};

/// A 100-byte reply to `request`, not sealed: the request's code byte with `flags`, and its id.
Bytes reply_to(const FakeServer::Request& request, std::uint8_t flags = 0x80);

}  // namespace tavtest

#endif
