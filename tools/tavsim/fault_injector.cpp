#include "tavsim/fault_injector.h"

#include <algorithm>

namespace tavsim {
namespace {

constexpr std::uint32_t foreign_id_bit = 0x80000000;  // Far from the ids that a client counts up from 1.

void damage_id(Bytes& packet) {
  store_be32(packet, id_offset, load_be32(packet, id_offset) ^ foreign_id_bit);
}

void truncate(Bytes& packet, const FaultSettings& settings) {
  const std::size_t wanted = settings.truncate_to ? *settings.truncate_to : packet.size() / 2;
  packet.resize(std::min(packet.size(), wanted));
}

// A wrong id is sealed like a right one, so that nothing else is wrong with the reply.
Bytes finish(Bytes packet, const FaultSet& faults, const FaultSettings& settings, const Crypto& crypto,
             Noise& noise) {
  if (faults.has(Fault::id)) damage_id(packet);
  seal(packet, crypto);
  if (faults.has(Fault::digest)) packet[digest_offset] ^= 0xff;
  if (faults.has(Fault::corrupt)) noise.corrupt(packet);
  if (faults.has(Fault::truncate)) truncate(packet, settings);
  return packet;
}

void add_interim_replies(std::vector<Delivery>& replies, const Request& request,
                         const FaultSettings& settings, const Crypto& crypto) {
  Bytes packet = status_reply(request, reply_interim);
  seal(packet, crypto);
  for (std::uint32_t i = 0; i < settings.interim_count; ++i) {
    replies.push_back({i * settings.interim_gap, packet});
  }
}

std::vector<Delivery> sent_ahead(const Request& request, const FaultSet& faults,
                                 const FaultSettings& settings, const Crypto& crypto, Noise& noise) {
  constexpr std::chrono::milliseconds at_once{0};
  std::vector<Delivery> ahead;
  if (faults.has(Fault::replay)) {
    if (auto earlier = noise.earlier()) ahead.push_back({at_once, std::move(*earlier)});
  }
  if (faults.has(Fault::flood)) {
    for (Bytes& each : noise.flood(request.id, settings.flood_count))
      ahead.push_back({at_once, std::move(each)});
  }
  if (faults.has(Fault::interim)) add_interim_replies(ahead, request, settings, crypto);
  return ahead;
}

std::vector<Bytes> final_replies(const Request& request, const Bytes& reply, const FaultSet& faults,
                                 const FaultSettings& settings) {
  if (!faults.has(Fault::error)) return {reply};
  std::vector<Bytes> replies{status_reply(request, reply_final | reply_error)};
  if (settings.final_after_error) replies.push_back(reply);
  return replies;
}

}  // namespace

bool is_refused(const FaultSet& faults, const FaultSettings& settings) {
  return faults.has(Fault::error) && !settings.final_after_error;
}

Deliveries inject(const Request& request, const Bytes& reply, const FaultSet& faults,
                  const FaultSettings& settings, const Crypto& crypto, Noise& noise) {
  Deliveries deliveries{sent_ahead(request, faults, settings, crypto, noise), {}};
  std::chrono::milliseconds after{0};
  if (faults.has(Fault::interim)) after += settings.interim_count * settings.interim_gap;
  if (faults.has(Fault::loss)) return deliveries;
  if (faults.has(Fault::delay)) after += settings.delay;
  for (const Bytes& packet : final_replies(request, reply, faults, settings)) {
    const Delivery delivery{after, finish(packet, faults, settings, crypto, noise)};
    deliveries.final.insert(deliveries.final.end(), faults.has(Fault::duplicate) ? 2 : 1, delivery);
    noise.remember(delivery.datagram);
  }
  return deliveries;
}

}  // namespace tavsim
