// How a request ends: verified, refused, abandoned, and replies that come in a row.

#include <vector>

#include "protocol/server_interface_fixture.h"

namespace {

using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::memory_of;
using tavtest::TransportTest;
using Request = ServerInterface::ASyncRequest;

/// What a completion routine saw.
struct Seen {
  ServerInterface* transport = nullptr;
  Request* request = nullptr;
  Bytes packet;
  int runs = 0;
};

unsigned note(ServerInterface* transport, Request* request) {
  auto& seen = *static_cast<Seen*>(request->context);
  seen.transport = transport;
  seen.request = request;
  seen.packet = memory_of(request->packet, 100);
  ++seen.runs;
  return 6;
}

class ServerInterfaceSettle : public TransportTest {
 protected:
  ServerInterfaceSettle() {
    request.completion = note;
    request.context = &seen;
    sent = start(request);
  }

  Request* complete() { return transport.CompleteRequest(); }

  Seen seen;
  Request request;
  FakeServer::Request sent;
};

TEST_F(ServerInterfaceSettle, TheCompletionRoutineFindsTheReplyAndItsResultIsTheStatus) {
  const Bytes reply = tavtest::sealed_reply(sent, secret);
  server.send_raw(sent, reply);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(request.status, 6U);
  EXPECT_EQ(transport.StatusRequest(&request), 6U);
  EXPECT_EQ(seen.runs, 1);
  EXPECT_EQ(seen.transport, &transport);
  EXPECT_EQ(seen.request, &request);
  EXPECT_EQ(seen.packet, reply);
}

TEST_F(ServerInterfaceSettle, WithoutACompletionRoutineTheStatusIsZero) {
  request.completion = nullptr;
  server.reply_status(sent);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(request.status, 0U);
}

TEST_F(ServerInterfaceSettle, LeavesIdAndOwnerOfASettledRequest) {
  server.reply_status(sent);
  complete();
  EXPECT_EQ(request.registeredId, sent.id());
  EXPECT_EQ(request.owner, &transport);
}

TEST_F(ServerInterfaceSettle, AWrongDigestIsThirteenAndEndsTheRequest) {
  server.reply_bad_digest(sent);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(request.status, 13U);
  EXPECT_EQ(seen.runs, 0);
  EXPECT_TRUE(transport.requests.empty());
  server.reply_status(sent);
  EXPECT_EQ(complete(), nullptr);
  EXPECT_EQ(request.status, 13U);
}

TEST_F(ServerInterfaceSettle, AReplyWithAWrongDigestIsCopiedAllTheSame) {
  Bytes reply = tavtest::sealed_reply(sent, secret);
  reply[99] ^= 0x10;
  server.send_raw(sent, reply);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(request.status, 13U);
  EXPECT_EQ(memory_of(request.packet, 100), reply);
}

TEST_F(ServerInterfaceSettle, TheDigestOfAnotherPassPhraseIsWrong) {
  server.send_raw(sent, tavtest::sealed_reply(sent, "Sesame Street"));
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(request.status, 13U);
}

TEST_F(ServerInterfaceSettle, DropsTheSecondOfTwoFinalReplies) {
  server.reply_status(sent);
  server.reply_status(sent);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(complete(), nullptr);
  EXPECT_EQ(seen.runs, 1);
}

// Replies in a row and the status after each. A request that is settled takes no more.
enum class Reply { interim, error, done, bad };

struct Row {
  std::vector<Reply> replies;
  std::vector<unsigned> statuses;
  int runs;

  friend void PrintTo(const Row& row, std::ostream* out) {
    *out << "statuses " << testing::PrintToString(row.statuses);
  }
};

class ServerInterfaceReplies : public ServerInterfaceSettle, public testing::WithParamInterface<Row> {
 protected:
  void send(Reply reply) {
    switch (reply) {
      case Reply::interim:
        return server.reply_interim(sent);
      case Reply::error:
        return server.reply_error(sent);
      case Reply::done:
        return server.reply_status(sent);
      case Reply::bad:
        return server.reply_bad_digest(sent);
    }
  }
};

TEST_P(ServerInterfaceReplies, InARow) {
  for (std::size_t i = 0; i < GetParam().replies.size(); ++i) {
    send(GetParam().replies[i]);
    const bool registered = !transport.requests.empty();
    EXPECT_EQ(complete(), registered ? &request : nullptr) << "reply " << i;
    EXPECT_EQ(request.status, GetParam().statuses[i]) << "reply " << i;
  }
  EXPECT_EQ(seen.runs, GetParam().runs);
}

using enum Reply;
INSTANTIATE_TEST_SUITE_P(Rows, ServerInterfaceReplies,
                         testing::Values(Row{{interim, done}, {14, 6}, 1},                //
                                         Row{{interim, interim, done}, {14, 14, 6}, 1},   //
                                         Row{{error, done}, {2, 6}, 1},                   //
                                         Row{{error, error, done}, {2, 2, 6}, 1},         //
                                         Row{{error, interim, done}, {2, 14, 6}, 1},      //
                                         Row{{interim, error, interim}, {14, 2, 14}, 0},  //
                                         Row{{error, bad, done}, {2, 13, 13}, 0},         //
                                         Row{{interim, bad, interim}, {14, 13, 13}, 0},   //
                                         Row{{done, error, interim}, {6, 6, 6}, 1}));

TEST_F(ServerInterfaceSettle, AnAbandonedRequestIsCancelledAndItsReplyDropped) {
  EXPECT_EQ(transport.AbandonRequest(&request), 0U);
  EXPECT_EQ(request.status, 17U);
  EXPECT_TRUE(transport.requests.empty());
  server.reply_status(sent);
  EXPECT_EQ(complete(), nullptr);
  EXPECT_EQ(request.status, 17U);
  EXPECT_EQ(seen.runs, 0);
}

TEST_F(ServerInterfaceSettle, AbandonsARequestThatGotAnErrorReply) {
  server.reply_error(sent);
  complete();
  EXPECT_EQ(transport.AbandonRequest(&request), 0U);
  EXPECT_EQ(request.status, 17U);
  EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ServerInterfaceSettle, AbandoningLeavesAnAnsweredRequestAlone) {
  server.reply_status(sent);
  complete();
  EXPECT_EQ(transport.AbandonRequest(&request), 0U);
  EXPECT_EQ(request.status, 6U);
}

TEST_F(ServerInterfaceSettle, AbandoningLeavesARequestThatWasNeverSentAlone) {
  Request unsent;
  unsent.status = 99;
  EXPECT_EQ(transport.AbandonRequest(&unsent), 0U);
  EXPECT_EQ(unsent.status, 99U);
  EXPECT_EQ(transport.requests.size(), 1U);
}

TEST_F(ServerInterfaceSettle, AbandoningOneLeavesTheOthersInFlight) {
  Request other;
  const auto other_sent = start(other);
  transport.AbandonRequest(&request);
  server.reply_status(other_sent);
  EXPECT_EQ(complete(), &other);
  EXPECT_EQ(other.status, 0U);
}

unsigned count_registered(ServerInterface* transport, Request* request) {
  *static_cast<std::size_t*>(request->context) =
      static_cast<tavtest::OpenTransport*>(transport)->requests.size();
  return 0;
}

TEST_F(ServerInterfaceSettle, ARequestIsOutOfTheTableWhenItsCompletionRoutineRuns) {
  std::size_t registered = 99;
  request.context = &registered;
  request.completion = count_registered;
  server.reply_status(sent);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(registered, 0U);
}

// So the routine may use the transport.
struct Busy {
  Request next;
  Request* dropped = nullptr;
};

unsigned use_transport(ServerInterface* transport, Request* request) {
  auto& busy = *static_cast<Busy*>(request->context);
  tavtest::load(busy.next.packet, tavtest::make_packet(1, 0));
  transport->AbandonRequest(busy.dropped);
  return transport->StartRequest(&busy.next) == 14 ? 0 : 1;
}

TEST_F(ServerInterfaceSettle, ACompletionRoutineMaySendAndAbandon) {
  Request dropped;
  start(dropped);
  Busy busy;
  busy.dropped = &dropped;
  request.context = &busy;
  request.completion = use_transport;
  server.reply_status(sent);
  EXPECT_EQ(complete(), &request);
  EXPECT_EQ(request.status, 0U);
  EXPECT_EQ(dropped.status, 17U);
  server.reply_status(server.receive());
  EXPECT_EQ(complete(), &busy.next);
  EXPECT_TRUE(transport.requests.empty());
}

}  // namespace
