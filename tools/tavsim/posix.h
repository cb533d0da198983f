#ifndef TAVSIM_POSIX_H
#define TAVSIM_POSIX_H

#include <netinet/in.h>

#include <cstdint>
#include <optional>

#include "tavsim/bytes.h"

namespace tavsim {

/// A file descriptor that is closed at the end.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor();
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }

 private:
  int number_;
};

/// A bound UDP socket that never blocks. The constructor throws std::system_error.
class UdpSocket {
 public:
  explicit UdpSocket(const sockaddr_in& address);

  int descriptor() const { return descriptor_.number(); }
  sockaddr_in address() const;

  /// The next waiting datagram, cut to the size of `buffer`; nothing when none waits.
  std::optional<ByteView> receive(std::span<std::uint8_t> buffer, sockaddr_in& from) const;

  /// 0, or the error number when the system did not take the datagram.
  int send(ByteView datagram, const sockaddr_in& to) const;

 private:
  Descriptor descriptor_;
};

/// Turns SIGTERM and SIGINT into a readable descriptor for as long as it lives. Throws std::system_error.
class StopSignals {
 public:
  StopSignals();

  int descriptor() const { return descriptor_.number(); }

 private:
  Descriptor descriptor_;
};

}  // namespace tavsim

#endif
