#ifndef TAVSIM_NOISE_H
#define TAVSIM_NOISE_H

#include <cstdint>
#include <deque>
#include <optional>
#include <random>
#include <vector>

#include "tavsim/bytes.h"

namespace tavsim {

/// What a hostile network has of its own: chance, and a memory of what it carried. It knows no pass phrase.
/// The same seed and the same calls give the same bytes.
class Noise {
 public:
  explicit Noise(std::uint64_t seed) : random_(seed) {}

  /// Flips one bit. An empty datagram stays empty.
  void corrupt(Bytes& datagram);

  /// `count` datagrams of somebody who wants to be taken for the server: in turn random bytes, and a final,
  /// an error and an interim reply under a guessed id, from 0 to twice `id`, with a digest that is wrong.
  std::vector<Bytes> flood(std::uint32_t id, std::uint32_t count);

  /// Keeps a reply for `earlier`; the last 64 are kept.
  void remember(const Bytes& reply);

  /// One of the replies kept; nothing when there is none.
  std::optional<Bytes> earlier();

 private:
  template <typename Number>
  Number below(Number limit) {
    return static_cast<Number>(random_() % limit);
  }
  Bytes random_bytes(std::size_t size);
  Bytes forged_reply(unsigned flags, std::uint32_t id);

  std::mt19937_64 random_;
  std::deque<Bytes> kept_;
};

}  // namespace tavsim

#endif
