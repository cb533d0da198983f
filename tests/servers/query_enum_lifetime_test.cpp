// When an enumeration is busy and when idle, and what is left of one that ends too early.

#include <cerrno>
#include <optional>
#include <type_traits>

#include "servers/enumeration_fixture.h"
#include "support/allocation_faults.h"
#include "support/socket_faults.h"

namespace {

using tavtest::AllocationFaults;
using tavtest::EnumerationTest;
using tavtest::sample_on_wire;
using tavtest::SocketFaults;

static_assert(std::has_virtual_destructor_v<TAVQueryEnum>);

class QueryEnumLifetime : public EnumerationTest {
 protected:
  /// The enumeration is idle: a step is accepted, and its answer arrives in its own record.
  void expect_idle() {
    _TAVENTRYA again{};
    EXPECT_EQ(step(*enumeration, again, sample_on_wire()), 0U);
    EXPECT_STREQ(again.user, "ALICE");
  }

  std::unique_ptr<TAVQueryEnum> enumeration = open();
  _TAVENTRYW out{};
};

TEST_F(QueryEnumLifetime, ASecondStepBeforeTheFirstIsAnsweredIsFifteenAndSendsNothing) {
  const auto sent = start(*enumeration, out, request);
  Request second;
  _TAVENTRYW wide{};
  _TAVENTRYA narrow{};
  EXPECT_EQ(enumeration->QueryNext(wide, &second), 15U);
  EXPECT_EQ(enumeration->QueryNext(narrow, &second), 15U);
  EXPECT_TRUE(peer.is_idle());
  EXPECT_EQ(second.context, nullptr);

  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(request), 0U);
  EXPECT_STREQ(out.user, L"ALICE");
  EXPECT_EQ(wide.user, nullptr);
  EXPECT_EQ(narrow.user, nullptr);
}

TEST_F(QueryEnumLifetime, AnInterimReplyLeavesItBusy) {
  peer.reply_interim(start(*enumeration, out, request));
  EXPECT_EQ(complete(request), 14U);
  Request second;
  EXPECT_EQ(enumeration->QueryNext(out, &second), 15U);
}

TEST_F(QueryEnumLifetime, IsIdleAfterAnAnswer) {
  peer.reply_entry(start(*enumeration, out, request), sample_on_wire());
  complete(request);
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterTheEnd) {
  peer.reply_no_entry(start(*enumeration, out, request));
  complete(request);
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterAForgedAnswer) {
  peer.reply_bad_digest(start(*enumeration, out, request));
  EXPECT_EQ(complete(request), 13U);
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterAnErrorReply) {
  peer.reply_error(start(*enumeration, out, request));
  EXPECT_EQ(complete(request), 2U);
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterItsRequestWasAbandoned) {
  start(*enumeration, out, request);
  server().AbandonRequest(&request);
  EXPECT_EQ(request.status, 17U);
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterItsRequestWasForgotten) {
  {
    Request passing;
    start(*enumeration, out, passing);
    server().Forget(&passing);
  }
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterAStepThatCouldNotBeSent) {
  {
    SocketFaults faults;
    faults.fail("sendto", ENETDOWN);
    EXPECT_EQ(enumeration->QueryNext(out, &request), 12U);
  }
  expect_idle();
}

TEST_F(QueryEnumLifetime, IsIdleAfterAConversionThatFailed) {
  tavtest::WireEntry entry;
  entry.user = u"\u0416";
  _TAVENTRYA narrow{};
  ASSERT_EQ(step(*enumeration, narrow, entry), 9U);
  expect_idle();
}

// The answer to a step that has ended with an error reply finds the next step under way.
TEST_F(QueryEnumLifetime, ALateAnswerDoesNotEndTheNextStep) {
  const auto first = start(*enumeration, out, request);
  peer.reply_error(first);
  complete(request);
  Request second;
  _TAVENTRYW next{};
  const auto second_sent = start(*enumeration, next, second);

  peer.reply_entry(first, sample_on_wire());
  EXPECT_EQ(complete(request), 2U);  // as before: its owner may not have asked yet
  EXPECT_EQ(out.user, nullptr);
  EXPECT_EQ(next.user, nullptr);
  peer.reply_entry(second_sent, sample_on_wire());
  EXPECT_EQ(complete(second), 0U);
  EXPECT_STREQ(next.user, L"ALICE");
}

TEST_F(QueryEnumLifetime, ALateAnswerIsDroppedWhenTheSameRequestServesTheNextStep) {
  const auto first = start(*enumeration, out, request);
  peer.reply_error(first);
  complete(request);
  _TAVENTRYW next{};
  const auto second = start(*enumeration, next, request);

  peer.reply_entry(first, sample_on_wire());
  EXPECT_EQ(server().CompleteRequest(), nullptr);
  peer.reply_entry(second, sample_on_wire());
  EXPECT_EQ(complete(request), 0U);
  EXPECT_EQ(out.user, nullptr);
  EXPECT_STREQ(next.user, L"ALICE");
}

TEST_F(QueryEnumLifetime, DestroyedInFlightItLeavesARequestThatWritesNowhere) {
  out.tag = 77;
  const auto sent = start(*enumeration, out, request);
  enumeration.reset();
  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(request), 17U);
  EXPECT_EQ(out.tag, 77U);
}

TEST_F(QueryEnumLifetime, DestroyedAfterAnErrorReplyItLeavesARequestThatWritesNowhere) {
  const auto sent = start(*enumeration, out, request);
  peer.reply_error(sent);
  complete(request);
  enumeration.reset();
  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(request), 2U);
  EXPECT_EQ(out.user, nullptr);
}

// Its owner may be told of it only when the enumeration is gone.
TEST_F(QueryEnumLifetime, AnAnsweredRequestKnowsTheEnumerationNoLonger) {
  peer.reply_entry(start(*enumeration, out, request), sample_on_wire());
  complete(request);
  EXPECT_EQ(request.context, nullptr);
  enumeration.reset();
  server().Forget(&request);
  EXPECT_EQ(request.status, 0U);
}

TEST_F(QueryEnumLifetime, TwoOnOneServerDoNotMeet) {
  auto second = open();
  Request second_request;
  _TAVENTRYW second_out{};
  const auto first_sent = start(*enumeration, out, request);
  const auto second_sent = start(*second, second_out, second_request);
  tavtest::WireEntry bob;
  bob.user = u"BOB";
  peer.reply_entry(second_sent, bob);
  peer.reply_entry(first_sent, sample_on_wire());
  EXPECT_EQ(complete(second_request), 0U);
  EXPECT_EQ(complete(request), 0U);
  EXPECT_STREQ(out.user, L"ALICE");
  EXPECT_STREQ(second_out.user, L"BOB");
}

// Three texts and a block are read, and the three texts converted. An answer for which there is no memory is
// as good as none; one that cannot be converted is told as such.
TEST_F(QueryEnumLifetime, WithoutMemoryForTheAnswerItIsTheEndOrNine) {
  for (const auto& [failing, status] :
       {std::pair{0L, 6U}, {1L, 6U}, {2L, 6U}, {3L, 6U}, {4L, 9U}, {5L, 9U}}) {
    SCOPED_TRACE(failing);
    _TAVENTRYA narrow{};
    peer.reply_entry(start(*enumeration, narrow, request), sample_on_wire());
    std::optional<AllocationFaults> faults(failing);
    EXPECT_EQ(complete(request), status);
    EXPECT_TRUE(faults->happened());
    faults.reset();
    expect_idle();
  }
}

// Three texts and a block to copy: without memory for any of them it is not valid.
TEST_F(QueryEnumLifetime, WithoutMemoryForTheFilterItIsNotValid) {
  for (long failing = 0; failing < 4; ++failing) {
    std::optional<AllocationFaults> faults(failing);
    TAVQueryEnum broken(peer.address_number(), filter, 0, 0, 0, &list);
    faults.reset();
    EXPECT_EQ(broken.IsValid(), 0) << "allocation " << failing;
  }
}

}  // namespace
