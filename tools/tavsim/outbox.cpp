#include "tavsim/outbox.h"

#include <algorithm>
#include <utility>

namespace tavsim {

void Outbox::put(Outgoing outgoing) {
  const Clock::time_point due = outgoing.due;
  queue_.emplace(due, std::move(outgoing));
}

void Outbox::put_reply(std::vector<Outgoing> reply) {
  if (reply.empty()) return;
  const Clock::time_point due = reply.back().due;
  for (Outgoing& outgoing : reply) {
    put(std::move(outgoing));
  }
  release(due);
}

void Outbox::release(Clock::time_point earliest) {
  for (Outgoing& outgoing : std::exchange(held_, {})) {
    outgoing.due = std::max(outgoing.due, earliest);
    put(std::move(outgoing));
  }
}

std::optional<Outgoing> Outbox::take(Clock::time_point now) {
  if (queue_.empty() || queue_.begin()->first > now) return std::nullopt;
  return std::move(queue_.extract(queue_.begin()).mapped());
}

std::optional<Clock::time_point> Outbox::next_due() const {
  if (queue_.empty()) return std::nullopt;
  return queue_.begin()->first;
}

}  // namespace tavsim
