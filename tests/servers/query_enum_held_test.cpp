// What an enumeration holds for a step, seen by a class derived from it: nothing once the step has ended.

#include <cerrno>

#include "servers/enumeration_fixture.h"
#include "support/socket_faults.h"

namespace {

using tavtest::EnumerationTest;
using tavtest::FakeServer;
using tavtest::sample_on_wire;
using tavtest::SocketFaults;

/// An enumeration that shows what it holds for the step in flight.
class OpenEnumeration : public TAVQueryEnum {
 public:
  using TAVQueryEnum::pending;
  using TAVQueryEnum::TAVQueryEnum;
};

/// Ways in which a step ends without an entry: the caller's record is held no longer.
class QueryEnumHolds : public EnumerationTest {
 protected:
  template <typename Record>
  FakeServer::Request in_flight(Record& record) {
    const auto sent = start(enumeration, record, request);
    EXPECT_EQ(enumeration.pending, &record);
    return sent;
  }

  static void expect_nothing(const OpenEnumeration& ended) { EXPECT_EQ(ended.pending, nullptr); }

  OpenEnumeration enumeration{peer.address_number(), filter, 0xa1, 0xa2, 0xa3, &list};
  _TAVENTRYW out{};
};

TEST_F(QueryEnumHolds, NothingAfterTheEnd) {
  peer.reply_no_entry(in_flight(out));
  ASSERT_EQ(complete(request), 6U);
  expect_nothing(enumeration);
}

TEST_F(QueryEnumHolds, NothingAfterAnEntryThatCannotBeRead) {
  const auto sent = in_flight(out);
  tavtest::Bytes reply = tavtest::entry_packet(0x83, sent.id(), sample_on_wire());
  tavtest::put_be16(reply, 32 + 6, 1000);
  peer.reply_packet(sent, reply);
  ASSERT_EQ(complete(request), 6U);
  expect_nothing(enumeration);
}

TEST_F(QueryEnumHolds, NothingAfterAConversionThatFailed) {
  tavtest::WireEntry entry;
  entry.user = u"\u0416";
  _TAVENTRYA narrow{};
  peer.reply_entry(in_flight(narrow), entry);
  ASSERT_EQ(complete(request), 9U);
  expect_nothing(enumeration);
}

TEST_F(QueryEnumHolds, NothingAfterAForgedAnswer) {
  peer.reply_bad_digest(in_flight(out));
  ASSERT_EQ(complete(request), 13U);
  expect_nothing(enumeration);
}

TEST_F(QueryEnumHolds, NothingAfterItsRequestWasAbandoned) {
  in_flight(out);
  server().AbandonRequest(&request);
  expect_nothing(enumeration);
}

TEST_F(QueryEnumHolds, NothingOfAStepThatCouldNotBeSent) {
  SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  ASSERT_EQ(enumeration.QueryNext(out, &request), 12U);
  expect_nothing(enumeration);
}

TEST_F(QueryEnumHolds, NothingOfAStepThatNoServerTakes) {
  OpenEnumeration lost(peer.address_number() + 1, filter, 0, 0, 0, &list);
  ASSERT_EQ(lost.QueryNext(out, &request), 11U);
  expect_nothing(lost);
}

TEST_F(QueryEnumHolds, NothingOfAStepThatDoesNotFitARequest) {
  OpenEnumeration large(peer.address_number(), tavtest::long_entry<_TAVENTRYW>(1000), 0, 0, 0, &list);
  ASSERT_EQ(large.QueryNext(out, &request), 11U);
  expect_nothing(large);
}

}  // namespace
