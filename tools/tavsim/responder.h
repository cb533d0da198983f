#ifndef TAVSIM_RESPONDER_H
#define TAVSIM_RESPONDER_H

#include <cstdint>
#include <optional>
#include <string>

#include "tavsim/packet.h"
#include "tavsim/store.h"

namespace tavsim {

/// A reply without its digest, and a few words on it for the trace.
struct Answer {
  Bytes packet;
  std::string summary;
};

/// What the server does: one final reply for each verified request.
class Responder {
 public:
  Responder(Store store, std::uint32_t version) : store_(std::move(store)), version_(version) {}

  /// Carries the request out. One that cannot be carried out gets an error reply.
  Answer answer(const Request& request);

 private:
  Answer add(const Request& request);
  Answer query(const Request& request) const;
  Answer listen(const Request& request);
  Answer stop_listening(const Request& request);

  Store store_;
  std::uint32_t version_;
  std::optional<std::uint16_t> listening_;
};

}  // namespace tavsim

#endif
