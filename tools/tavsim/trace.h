#ifndef TAVSIM_TRACE_H
#define TAVSIM_TRACE_H

#include <netinet/in.h>

#include <iosfwd>
#include <string>
#include <string_view>

#include "tavsim/bytes.h"
#include "tavsim/packet.h"

namespace tavsim {

/// "10.1.2.3" for an entry's number.
std::string dotted_quad(std::uint32_t address);

/// "127.0.0.1:4000".
std::string describe(const sockaddr_in& peer);

/// The fields of an entry that are not zero or empty, as `name=value`. Never more than one line.
std::string describe(const Entry& entry);

/// Operation, id and arguments of a request.
std::string describe(const Request& request);

/// Code byte, id and size of a reply as it was sent; of a truncated one, what is left.
std::string describe_reply(ByteView datagram);

/// Writes single, flushed lines, when they are wanted.
class Trace {
 public:
  Trace(std::ostream& output, bool lines, bool hex) : output_(output), lines_(lines), hex_(hex) {}

  bool is_on() const { return lines_; }
  void line(std::string_view text) const;

  /// A received datagram in hex.
  void raw(const sockaddr_in& from, ByteView datagram) const;

 private:
  std::ostream& output_;
  bool lines_;
  bool hex_;
};

}  // namespace tavsim

#endif
