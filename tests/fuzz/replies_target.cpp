// Three requests of one server, and whatever arrives for them: any datagram in any state of a request. A
// packet that a verified reply left behind is read as an entry.
//
// Input: a byte whose bit 0 selects the texts (wide or 8-bit) and whose other bits select the descriptor to
// be read; then steps. A step is a byte: bits 0 to 1 the request, bits 2 to 3 what happens to it (a datagram
// arrives in steps 0 and 1), bits 4 to 6 flags, and for datagrams and packets a length (2 bytes) and that
// many bytes, filled up with zeros. A flag has a datagram sealed with the server's pass phrase, so that the
// fuzzer gets past the digest. A datagram for one of the three requests gets that one's id; for the fourth,
// which does not exist, it keeps its own id or gets an earlier one.

#include <tavlib/protocol/server_interface.h>

#include <array>
#include <cstring>

#include "fuzz/datagrams.h"
#include "fuzz/entry_reading.h"
#include "fuzz/fuzz_target.h"
#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavtest {
namespace {

constexpr const char* kPassphrase = "open sesame 1234";
constexpr std::size_t kPacketSize = 4096;
constexpr std::size_t kHeader = 12;
constexpr std::size_t kShortest = 100;
constexpr unsigned kCompleted = 42;
constexpr std::size_t kMostSteps = 24;

enum Flag : unsigned { kSeal = 0x10, kFitLength = 0x20, kFinal = 0x40 };

unsigned complete(ServerInterface* /*server*/, ServerInterface::ASyncRequest* /*request*/) {
  return kCompleted;
}

Bytes bytes_of(const _TAVPACKET& packet) {
  const auto* first = reinterpret_cast<const std::uint8_t*>(&packet);
  return {first, first + sizeof packet};
}

/// A request as the library has it, and what is known of it.
struct Tracked {
  ServerInterface::ASyncRequest request;
  bool in_flight = false;
  std::uint32_t id = 0;
  unsigned status = 0;
  Bytes packet = Bytes(kPacketSize);

  void check() const {
    expect(request.status == status, "a request's status");
    expect(bytes_of(request.packet) == packet, "a request's packet");
  }
};

class Exchange {
 public:
  explicit Exchange(std::uint8_t selector) : wide_((selector & 1) != 0), descriptor_(selector / 2U) {
    tracked_[1].request.completion = complete;
  }

  void step(Input& input) {
    const unsigned step = input.byte();
    Tracked* tracked = (step & 3) < tracked_.size() ? &tracked_[step & 3] : nullptr;
    switch (step >> 2 & 3) {
      case 2:
        if (tracked != nullptr) start(*tracked, step, input);
        break;
      case 3:
        if (tracked != nullptr) abandon(*tracked);
        break;
      default:
        arrive(tracked, step, input);
    }
    for (const Tracked& each : tracked_)
      each.check();
  }

 private:
  static Bytes sized_bytes(Input& input) {
    const std::size_t size = input.be16() % 4400U;
    Bytes bytes = input.take(size);
    bytes.resize(size);
    return bytes;
  }

  /// Ids go on through the whole process, so small numbers count back from the last one.
  std::uint32_t other_id(std::uint32_t id) const { return id < 0x100 ? last_id_ - id : id; }

  void start(Tracked& tracked, unsigned step, Input& input);
  void check_sent(Tracked& tracked, bool fails);
  void abandon(Tracked& tracked);
  void arrive(const Tracked* addressed, unsigned step, Input& input);
  Tracked* expected_receiver(const Bytes& datagram);
  void expect_change(Tracked& tracked, const Bytes& datagram);

  bool wide_;
  unsigned descriptor_;
  ServerInterface server_{0x0100007F, 9, kPassphrase};
  std::array<Tracked, 3> tracked_;
  std::uint32_t last_id_ = 0;
};

void Exchange::start(Tracked& tracked, unsigned step, Input& input) {
  Bytes packet = sized_bytes(input);
  packet.resize(std::max<std::size_t>(packet.size(), 4));
  // The length word is the input's own unless a flag fits it.
  if ((step & kFitLength) != 0) put_be32(packet, 0, static_cast<std::uint32_t>(packet.size()));
  packet.resize(kPacketSize);
  std::memcpy(&tracked.request.packet, packet.data(), kPacketSize);
  tracked.packet = packet;
  tracked.in_flight = false;
  tracked.status = TAV_E_PENDING;

  const bool fails = (step & kSeal) != 0;
  fail_sending(fails);
  const unsigned status = server_.StartRequest(&tracked.request);
  fail_sending(false);
  if (get_be32(packet, 0) > kPacketSize) {
    expect(status == TAV_E_TOOBIG, "a packet that is too long is refused");
    return;
  }
  check_sent(tracked, fails);
  expect(status == (fails ? TAV_E_SENDFAILED : TAV_E_PENDING), "the status of a start");
  if (!fails)
    expect(tracked.request.owner == &server_ && tracked.request.registeredId == tracked.id, "registered");
  tracked.in_flight = !fails;
}

/// The packet got an id and a digest, and was sent framed and enciphered unless sending fails.
void Exchange::check_sent(Tracked& tracked, bool fails) {
  const Bytes now = bytes_of(tracked.request.packet);
  tracked.id = get_be32(now, 8);
  last_id_ = tracked.id;
  for (const Tracked& other : tracked_)
    expect(&other == &tracked || other.id != tracked.id, "an id of its own");
  put_be32(tracked.packet, 8, tracked.id);
  const std::size_t length = get_be32(tracked.packet, 0);
  if (length >= kShortest) tracked.packet = seal_reply(tracked.packet, kPassphrase);
  const Bytes sent = take_sent();
  const Bytes whole(tracked.packet.begin(), tracked.packet.begin() + static_cast<std::ptrdiff_t>(length));
  expect(sent == (fails ? Bytes() : frame_request(whole, kPassphrase)), "the datagram that was sent");
}

void Exchange::abandon(Tracked& tracked) {
  if (tracked.in_flight) tracked.status = TAV_E_CANCELLED;
  tracked.in_flight = false;
  expect(server_.AbandonRequest(&tracked.request) == 0, "abandoning gives 0");
}

void Exchange::arrive(const Tracked* addressed, unsigned step, Input& input) {
  Bytes datagram = sized_bytes(input);
  if (datagram.size() >= kHeader) {
    if ((step & kFitLength) != 0) put_be32(datagram, 0, static_cast<std::uint32_t>(datagram.size()));
    if ((step & kFinal) != 0) datagram[4] = static_cast<std::uint8_t>((datagram[4] & 0x1F) | 0x80);
    put_be32(datagram, 8, addressed != nullptr ? addressed->id : other_id(get_be32(datagram, 8)));
    const std::size_t length = get_be32(datagram, 0);
    if ((step & kSeal) != 0 && length >= kShortest && length <= datagram.size())
      datagram = seal_reply(datagram, kPassphrase);
  }

  deliver(datagram);
  datagram.resize(std::min(datagram.size(), kPacketSize));  // What is longer is cut by the receiver's buffer.
  Tracked* receiver = expected_receiver(datagram);
  if (receiver != nullptr) expect_change(*receiver, datagram);
  const ServerInterface::ASyncRequest* completed = server_.CompleteRequest();
  end_delivery();
  expect(completed == (receiver == nullptr ? nullptr : &receiver->request), "whom a datagram belongs to");
  if (receiver != nullptr && !receiver->in_flight && receiver->status != TAV_E_BADPACKET)
    check_reading(receiver->request.packet, descriptor_, wide_);
}

/// The request that the datagram reaches; null when it is dropped.
Tracked* Exchange::expected_receiver(const Bytes& datagram) {
  if (datagram.size() < kHeader || get_be32(datagram, 0) > datagram.size()) return nullptr;
  if ((datagram[4] & 0xA0) == 0) return nullptr;
  const std::uint32_t id = get_be32(datagram, 8);
  for (Tracked& tracked : tracked_) {
    if (tracked.in_flight && tracked.id == id) return &tracked;
  }
  return nullptr;
}

void Exchange::expect_change(Tracked& tracked, const Bytes& datagram) {
  if ((datagram[4] & 0x20) != 0) {
    tracked.status = TAV_E_PENDING;
  } else if ((datagram[4] & 0x40) != 0) {
    tracked.status = TAV_E_SERVERERROR;
  } else {
    const std::size_t length = get_be32(datagram, 0);
    std::copy_n(datagram.begin(), length, tracked.packet.begin());
    const bool right = length >= kShortest && digest_is_right(datagram, kPassphrase);
    const unsigned completed = tracked.request.completion == nullptr ? 0 : kCompleted;
    tracked.status = right ? completed : unsigned{TAV_E_BADPACKET};
    tracked.in_flight = false;
  }
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::Input input(data, size);
  tavtest::Exchange exchange(input.byte());
  for (std::size_t steps = 0; steps < tavtest::kMostSteps && !input.empty(); ++steps)
    exchange.step(input);
  return 0;
}
