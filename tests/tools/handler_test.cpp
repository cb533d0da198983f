#include "tavsim/handler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavsim {
namespace {

using std::chrono::milliseconds;
using tavtest::make_packet;

constexpr const char* passphrase = "secret";
const Clock::time_point start{};

// A server without a socket: datagrams go in, and come out with the time at which they would be sent.
class Bench {
 public:
  explicit Bench(const std::vector<std::string>& rules = {}, const FaultSettings& settings = {})
      : handler_(Crypto(passphrase), Responder(Store{}, 5), source_of(rules), settings, trace_) {}

  void receive(const Bytes& datagram) { handler_.handle(datagram, {}, start, outbox_); }
  void ask(std::uint32_t id) { receive(tavtest::frame_request(make_packet(1, id), passphrase)); }

  std::vector<Bytes> sent_by(milliseconds time) {
    std::vector<Bytes> sent;
    while (const auto outgoing = outbox_.take(start + time)) {
      sent.push_back(outgoing->datagram);
    }
    return sent;
  }

  // The request ids of all replies that are sent by the given time.
  std::vector<std::uint32_t> ids_by(milliseconds time) {
    std::vector<std::uint32_t> ids;
    for (const Bytes& datagram : sent_by(time)) {
      ids.push_back(tavtest::get_be32(datagram, 8));
    }
    return ids;
  }

  std::uint64_t requests() const { return handler_.requests(); }
  std::string trace() const { return output_.str(); }

 private:
  static FaultSource source_of(const std::vector<std::string>& rules) {
    std::vector<FaultRule> parsed;
    std::transform(rules.begin(), rules.end(), std::back_inserter(parsed), parse_fault_rule);
    return FaultSource(parsed, 1);
  }

  std::ostringstream output_;
  Trace trace_{output_, true, false};
  Outbox outbox_;
  Handler handler_;
};

using Ids = std::vector<std::uint32_t>;

TEST(Handler, AnswersAVerifiedRequest) {
  Bench bench;
  bench.ask(3);
  Bytes expected = make_packet(0x81, 3);
  tavtest::put_be32(expected, 28, 5);
  EXPECT_EQ(bench.sent_by(milliseconds(0)), std::vector<Bytes>{tavtest::seal_reply(expected, passphrase)});
  EXPECT_EQ(bench.requests(), 1U);
  EXPECT_EQ(bench.trace(), "request 1 from 0.0.0.0:0: version id=3 length=100 -> version 5\n");
}

TEST(Handler, NeverAnswersWhatCannotBeVerified) {
  Bench bench;
  bench.receive(tavtest::frame_request(make_packet(1, 3), "secreX"));
  bench.receive({1, 2, 3});
  EXPECT_TRUE(bench.sent_by(milliseconds(0)).empty());
  EXPECT_EQ(bench.requests(), 0U);
  EXPECT_EQ(
      bench.trace(),
      "dropped from 0.0.0.0:0: 108 bytes: wrong digest\ndropped from 0.0.0.0:0: 3 bytes: bad framing\n");
}

TEST(Handler, NamesTheFaultsInTheTrace) {
  Bench bench({"loss=every:1", "interim=every:1"});
  bench.ask(3);
  EXPECT_EQ(bench.trace(),
            "request 1 from 0.0.0.0:0: version id=3 length=100 -> version 5 [faults: interim,loss]\n");
}

TEST(Handler, ADelayedReplyLetsOthersPass) {
  FaultSettings settings;
  settings.delay = milliseconds(40);
  Bench bench({"delay=first:1"}, settings);
  bench.ask(1);
  bench.ask(2);
  EXPECT_EQ(bench.ids_by(milliseconds(39)), Ids{2});
  EXPECT_EQ(bench.ids_by(milliseconds(40)), Ids{1});
}

TEST(Handler, ReorderedRepliesSwapInPairs) {
  Bench bench({"reorder=every:1"});
  for (std::uint32_t id = 1; id <= 5; ++id) {
    bench.ask(id);
  }
  EXPECT_EQ(bench.ids_by(milliseconds(0)), (Ids{2, 1, 4, 3}));
}

TEST(Handler, InterimRepliesAreNotHeldBack) {
  Bench bench({"reorder=first:1", "interim=first:1"});
  bench.ask(1);
  EXPECT_EQ(bench.sent_by(milliseconds(0)),
            std::vector<Bytes>{tavtest::seal_reply(make_packet(0x21, 1), passphrase)});
  bench.ask(2);
  EXPECT_EQ(bench.ids_by(milliseconds(0)), (Ids{2, 1}));
}

// The error fault refuses: nothing is stored, so the query that follows finds nothing.
TEST(Handler, ARefusedAddIsNotCarriedOut) {
  const Bytes query = tavtest::frame_request(tavtest::query_packet(2, 0, 0, 0, {}), passphrase);
  const auto count_after_add = [&](const FaultSettings& settings) {
    Bench bench({"error=first:1"}, settings);
    bench.receive(tavtest::frame_request(tavtest::entry_packet(2, 1, {}), passphrase));
    bench.receive(query);
    return tavtest::get_be32(bench.sent_by(milliseconds(0)).back(), 28);
  };
  EXPECT_EQ(count_after_add({}), 0U);
  FaultSettings settings;
  settings.final_after_error = true;
  EXPECT_EQ(count_after_add(settings), 1U);
}

void expect_whole_reply(const Bytes& reply) {
  ASSERT_GE(reply.size(), 100U);
  ASSERT_LE(reply.size(), 4096U);
  EXPECT_EQ(tavtest::get_be32(reply, 0), reply.size());
  EXPECT_EQ(reply[4] & 0xa0, 0x80);
  EXPECT_TRUE(tavtest::digest_is_right(reply, passphrase));
}

class Chaos {
 public:
  std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

  void scramble(Bytes& bytes, std::size_t from) {
    for (std::size_t i = from; i < bytes.size(); ++i) {
      bytes[i] = static_cast<std::uint8_t>(below(256));
    }
  }

 private:
  std::mt19937 random_{20240607};
};

TEST(Handler, SurvivesAnyDatagram) {
  Bench bench;
  Chaos chaos;
  for (int i = 0; i < 500; ++i) {
    Bytes datagram(chaos.below(300));
    chaos.scramble(datagram, 0);
    if (i % 2 == 0 && datagram.size() >= 4)
      tavtest::put_be32(datagram, 0, static_cast<std::uint32_t>(datagram.size() - 4));
    bench.receive(datagram);
  }
  EXPECT_EQ(bench.requests(), 0U);
  EXPECT_TRUE(bench.sent_by(milliseconds(0)).empty());
}

// Sealed with the right pass phrase, but with any content: each gets one whole reply.
TEST(Handler, SurvivesAnyVerifiedPacket) {
  Bench bench;
  Chaos chaos;
  for (int i = 0; i < 500; ++i) {
    const auto code = static_cast<std::uint8_t>(chaos.below(8));
    Bytes packet = make_packet(code, 1, 100 + chaos.below(3997));
    chaos.scramble(packet, 28 + chaos.below(70));
    if (i % 2 == 0) {  // Descriptors that point into the packet.
      for (const std::size_t slot : {36U, 40U, 44U, 48U, 52U, 56U, 60U}) {
        tavtest::put_be16(packet, slot, static_cast<std::uint16_t>(chaos.below(600)));
      }
    }
    if (packet[4] == 2) tavtest::put_be32(packet, 28, 1);
    bench.receive(tavtest::frame_request(packet, passphrase));
    const std::vector<Bytes> replies = bench.sent_by(milliseconds(0));
    ASSERT_EQ(replies.size(), 1U);
    expect_whole_reply(replies[0]);
  }
}

}  // namespace
}  // namespace tavsim
