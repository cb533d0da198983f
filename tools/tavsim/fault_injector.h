#ifndef TAVSIM_FAULT_INJECTOR_H
#define TAVSIM_FAULT_INJECTOR_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "tavsim/crypto.h"
#include "tavsim/fault_rules.h"
#include "tavsim/noise.h"
#include "tavsim/packet.h"

namespace tavsim {

/// How hard each fault strikes.
struct FaultSettings {
  std::uint32_t interim_count = 1;
  std::chrono::milliseconds interim_gap{0};  ///< Between interim replies, and before the final one.
  std::chrono::milliseconds delay{100};
  std::optional<std::uint32_t> truncate_to;  ///< Bytes that are left; without a value, half of the reply.
  bool final_after_error = false;            ///< The error reply is followed by the reply that it stood for.
  std::uint32_t flood_count = 32;            ///< Datagrams of a flood.
  std::uint64_t seed = 1;                    ///< Of what is random in corrupt, replay and flood.
};

/// One datagram to send, some time after its request.
struct Delivery {
  std::chrono::milliseconds after{0};
  Bytes datagram;
};

/// What answers one request: what goes ahead is sent for certain, the rest may be held back.
struct Deliveries {
  std::vector<Delivery> ahead;
  std::vector<Delivery> final;
};

/// Whether the request is carried out at all: an error fault refuses it, unless the real reply is to follow.
bool is_refused(const FaultSet& faults, const FaultSettings& settings);

/// Seals `reply` and applies every fault but `reorder`. Ahead go a replayed reply, a flood and interim
/// replies. Faults of the final reply come in this order: wrong id, digest, corruption, truncation, delay,
/// duplication; a lost one leaves what goes ahead.
Deliveries inject(const Request& request, const Bytes& reply, const FaultSet& faults,
                  const FaultSettings& settings, const Crypto& crypto, Noise& noise);

}  // namespace tavsim

#endif
