#include "tavsim/responder.h"

#include "tavsim/entry_codec.h"
#include "tavsim/trace.h"

namespace tavsim {
namespace {

Answer done(const Request& request, std::string summary) {
  return {status_reply(request, reply_final), std::move(summary)};
}

Answer failed(const Request& request, const std::string& why) {
  return {status_reply(request, reply_final | reply_error), "error: " + why};
}

}  // namespace

Answer Responder::answer(const Request& request) {
  if (!request.problem.empty()) return failed(request, request.problem);
  switch (request.code) {
    case operation_version:
      return {word_reply(request, version_), "version " + std::to_string(version_)};
    case operation_add:
      return add(request);
    case operation_query:
      return query(request);
    case operation_listen:
      return listen(request);
    default:
      return stop_listening(request);
  }
}

// Overlapping texts fit the packet that they came in, and may not fit one in which they stand side by side.
Answer Responder::add(const Request& request) {
  if (entry_packet_size(request.entry) > maximum_packet) return failed(request, "entry too large");
  const bool replaced = store_.add(request.entry);
  return done(request, std::string(replaced ? "replaced" : "added") + ", " + std::to_string(store_.size()) +
                           " entries now");
}

Answer Responder::query(const Request& request) const {
  const std::optional<Entry> entry = store_.next(request.entry, request.arguments[0]);
  if (!entry) return {word_reply(request, 0), "no more entries"};
  return {entry_reply(request, *entry), describe(*entry)};
}

Answer Responder::listen(const Request& request) {
  listening_ = request.port;
  return done(request, "listening on port " + std::to_string(request.port));
}

Answer Responder::stop_listening(const Request& request) {
  const std::string before = listening_ ? "port " + std::to_string(*listening_) : "no port";
  listening_.reset();
  return done(request, "stopped, was listening on " + before);
}

}  // namespace tavsim
