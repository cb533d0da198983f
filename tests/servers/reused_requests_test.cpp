// Hosts of the exported classes that use one request again, while it still belongs to an exchange that an
// error reply has ended; and requests whose context is the host's own.

#include <sys/mman.h>

#include <ostream>
#include <string>

#include "servers/enumeration_fixture.h"
#include "support/socket_faults.h"

using namespace tavtest;

namespace {

constexpr unsigned untouched = 77;

class ReusedRequests : public EnumerationTest {
 protected:
  // A step on `with` that the server refuses. Its final reply may still follow.
  FakeServer::Request refused_step(TAVQueryEnum& stepped, Request& with) {
    const auto sent = start(stepped, out, with);
    peer.reply_error(sent);
    EXPECT_EQ(complete(with), TAV_E_SERVERERROR);
    return sent;
  }

  FakeServer::Request start_version(TAVServerInterface& on, FakeServer& at) {
    EXPECT_EQ(on.QueryVersion(version, &request), TAV_E_PENDING);
    return at.receive();
  }

  // Nobody has asked for what `sent` is answered with.
  void expect_dropped(const FakeServer::Request& sent) {
    peer.reply_entry(sent, sample_on_wire());
    EXPECT_EQ(server().CompleteRequest(), nullptr);
  }

  Request next;  // may be in flight until the enumerations are gone
  std::unique_ptr<TAVQueryEnum> enumeration = open();
  _TAVENTRYW out{};
  unsigned version = untouched;
};

// Each way in which a step ends without its answer, after which the request is sent again when the enumeration is gone.
struct StepEnd {
  const char* name;
  void (*bring_about)(TAVServerInterface&, FakeServer&, const FakeServer::Request&,
                      ServerInterface::ASyncRequest&);
};

void PrintTo(const StepEnd& end, std::ostream* stream) {
  *stream << end.name;
}

class RequestOfAnEndedStep : public ReusedRequests, public ::testing::WithParamInterface<StepEnd> {};

}  // namespace

TEST_F(ReusedRequests, AVersionIsStoredThoughTheStepBeforeWasFollowedByAnother) {
  const auto step = refused_step(*enumeration, request);
  const auto sent = start_version(server(), peer);
  start(*enumeration, out, next);
  peer.reply_version(sent, 5);
  EXPECT_EQ(complete(request), 0U);
  EXPECT_EQ(version, 5U);
  expect_dropped(step);
}

TEST_F(ReusedRequests, AVersionIsStoredThoughTheEnumerationBeforeIsGone) {
  refused_step(*enumeration, request);
  const auto sent = start_version(server(), peer);
  enumeration.reset();
  peer.reply_version(sent, 5);
  EXPECT_EQ(complete(request), 0U);
  EXPECT_EQ(version, 5U);
}

TEST_F(ReusedRequests, AnEnumerationGetsItsEntryThoughTheOneBeforeIsGone) {
  const auto step = refused_step(*enumeration, request);
  auto second = open();
  const auto sent = start(*second, out, request);
  enumeration.reset();
  expect_dropped(step);
  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(request), 0U);
  EXPECT_STREQ(out.user, L"ALICE");
}

TEST_F(ReusedRequests, AnEnumerationNeverTouchesARequestThatServedAnotherAndEnded) {
  auto ended = std::make_unique<Request>();
  refused_step(*enumeration, *ended);
  EXPECT_EQ(server().QueryVersion(version, ended.get()), TAV_E_PENDING);
  peer.reply_version(peer.receive(), 5);
  EXPECT_EQ(server().CompleteRequest(), ended.get());
  ended.reset();
  EXPECT_EQ(step(*enumeration, out, sample_on_wire()), 0U);
}

// The version has nowhere to go when the step could not be started, either.
TEST_F(ReusedRequests, AStepThatCannotStartEndsTheExchangeBefore) {
  request.handle = this;
  const auto sent = start_version(server(), peer);
  peer.reply_error(sent);
  EXPECT_EQ(complete(request), TAV_E_SERVERERROR);
  TAVQueryEnum elsewhere(0x0100007f + 1, filter, 0, 0, 0, &list);
  EXPECT_EQ(elsewhere.QueryNext(out, &request), TAV_E_UNKNOWNSERVER);
  peer.reply_version(sent, 5);
  EXPECT_EQ(server().CompleteRequest(), nullptr);
  EXPECT_EQ(version, untouched);
}

TEST_F(ReusedRequests, SentThroughASecondServerItLeavesTheFirstOnesTable) {
  FakeServer other_peer("other", "127.0.0.2");
  TAVServerInterface other(other_peer.address_number(), other_peer.port(), "other", 0);
  const auto step = refused_step(*enumeration, request);
  const auto sent = start_version(other, other_peer);
  expect_dropped(step);
  other_peer.reply_version(sent, 5);
  EXPECT_EQ(other.CompleteRequest(), &request);
  EXPECT_EQ(version, 5U);
}

// The second one has no socket.
TEST_F(ReusedRequests, RefusedByASecondServerItHasLeftTheFirstOnesTable) {
  std::unique_ptr<TAVServerInterface> other;
  {
    SocketFaults faults;
    faults.fail("socket", EMFILE);
    other = std::make_unique<TAVServerInterface>(peer.address_number(), peer.port(), "wheel", 0);
  }
  const auto step = refused_step(*enumeration, request);
  EXPECT_EQ(other->QueryVersion(version, &request), TAV_E_SENDFAILED);
  expect_dropped(step);
  EXPECT_EQ(version, untouched);
}

TEST_F(ReusedRequests, TheServerThatSentItBeforeMayBeGone) {
  auto other = std::make_unique<TAVServerInterface>(peer.address_number(), peer.port(), "wheel", 0);
  start_version(*other, peer);
  other.reset();
  EXPECT_EQ(request.status, TAV_E_PENDING);
  peer.reply_version(start_version(server(), peer), 5);
  EXPECT_EQ(complete(request), 0U);
  EXPECT_EQ(version, 5U);
}

// The host sends the datagram again, which it takes for lost.
TEST_F(ReusedRequests, SentAgainAsItStandsItIsNoStepAnyMore) {
  start(*enumeration, out, request);
  EXPECT_EQ(server().StartRequest(&request), TAV_E_PENDING);
  const auto again = peer.receive();
  _TAVENTRYW next_out{};
  const auto sent = start(*enumeration, next_out, next);
  peer.reply_entry(again, sample_on_wire());
  EXPECT_EQ(complete(request), TAV_E_CANCELLED);
  EXPECT_EQ(out.user, nullptr);
  EXPECT_EQ(next_out.user, nullptr);
  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(next), 0U);
  EXPECT_STREQ(next_out.user, L"ALICE");
}

TEST_P(RequestOfAnEndedStep, SentAgainAsItStandsWritesNowhere) {
  const auto sent = start(*enumeration, out, request);
  GetParam().bring_about(server(), peer, sent, request);
  EXPECT_EQ(server().StartRequest(&request), TAV_E_PENDING);
  enumeration.reset();
  peer.reply_entry(peer.receive(), sample_on_wire());
  EXPECT_EQ(complete(request), TAV_E_CANCELLED);
  EXPECT_EQ(out.user, nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Ends, RequestOfAnEndedStep,
    ::testing::Values(StepEnd{"None", [](auto&, auto&, const auto&, auto&) {}},
                      StepEnd{"ErrorReply",
                              [](auto& server, auto& peer, const auto& sent, auto& request) {
                                peer.reply_error(sent);
                                EXPECT_EQ(server.CompleteRequest(), &request);
                              }},
                      StepEnd{"WrongDigest",
                              [](auto& server, auto& peer, const auto& sent, auto& request) {
                                peer.reply_bad_digest(sent);
                                EXPECT_EQ(server.CompleteRequest(), &request);
                              }},
                      StepEnd{"Abandoned", [](auto& server, auto&, const auto&,
                                              auto& request) { server.AbandonRequest(&request); }},
                      StepEnd{"Forgotten", [](auto& server, auto&, const auto&,
                                              auto& request) { server.Forget(&request); }}),
    [](const auto& end) { return std::string(end.param.name); });

TEST_F(ReusedRequests, AHostsOwnContextIsNeitherReadNorWritten) {
  const std::size_t page = 4096;
  void* forbidden = mmap(nullptr, page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(forbidden, MAP_FAILED);
  for (const bool abandoned : {true, false}) {
    request.context = forbidden;
    EXPECT_EQ(server().QueryEntry(1, 2, 3, filter, &request), TAV_E_PENDING);
    const auto sent = peer.receive();
    if (abandoned)
      server().AbandonRequest(&request);
    else
      server().Forget(&request);
    EXPECT_EQ(request.context, forbidden);
    expect_dropped(sent);
  }
  munmap(forbidden, page);
}

// Nothing is left that the enumeration could write to.
TEST_F(ReusedRequests, AnEnumerationMayOutliveItsTransportAndItsRequest) {
  auto short_lived = std::make_unique<TAVServerList>();
  enumeration = std::make_unique<TAVQueryEnum>(peer.address_number(), filter, 1, 2, 3, short_lived.get());
  auto in_flight = std::make_unique<Request>();
  start(*enumeration, out, *in_flight);
  short_lived.reset();
  EXPECT_EQ(in_flight->status, TAV_E_PENDING);
  in_flight.reset();
  enumeration.reset();
}
