// A server's flags, its pass phrase, and the requests that do not wait.

#include <gtest/gtest.h>
#include <tavlib/servers/query_enum.h>
#include <tavlib/servers/tav_server_interface.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <type_traits>

#include "servers/sample_entry.h"
#include "support/fake_server.h"
#include "support/oracle.h"
#include "support/socket_faults.h"

namespace {

using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::frame_request;
using tavtest::long_entry;
using tavtest::sample_record;
using Request = ServerInterface::ASyncRequest;

static_assert(std::is_base_of_v<ServerInterface, TAVServerInterface>);

class TavServer : public testing::Test {
 protected:
  static constexpr const char* secret = "open";

  /// The request's completion routine hands a reply without an entry to an enumeration: its end.
  void expect_to_take_an_answer() {
    const auto filter = sample_record<_TAVENTRYW>();
    TAVQueryEnum query(server.GetAddress(), filter, 0, 0, 0, nullptr);
    const Bytes reply = tavtest::make_packet(0x83, 1);
    std::memcpy(&request.packet, reply.data(), reply.size());
    request.context = &query;
    ASSERT_NE(request.completion, nullptr);
    EXPECT_EQ(request.completion(&server, &request), 6U);
  }

  FakeServer peer{secret};
  TAVServerInterface server{peer.address_number(), peer.port(), secret, 0};
  Request request;
};

TEST_F(TavServer, StartsUpAndAsLocalAsItWasMade) {
  EXPECT_EQ(server.IsValid(), 1);
  EXPECT_EQ(server.IsCommUp(), 1);
  EXPECT_EQ(server.IsLocal(), 0);
  EXPECT_EQ(server.GetAddress(), peer.address_number());
  for (const int given : {1, 5, -1, 0x100}) {
    TAVServerInterface local(peer.address_number(), peer.port(), secret, given);
    EXPECT_EQ(local.IsLocal(), given);
  }
}

TEST_F(TavServer, GoesDownAndUpWhenTold) {
  server.SetCommDown();
  EXPECT_EQ(server.IsCommUp(), 0);
  server.SetCommUp();
  EXPECT_EQ(server.IsCommUp(), 1);
}

TEST_F(TavServer, HoldsSixteenCharactersOfItsPassPhrase) {
  const auto held = [this](const std::string& given) {
    TAVServerInterface made(peer.address_number(), peer.port(), given.c_str(), 0);
    return std::string(made.GetSecret());
  };
  EXPECT_EQ(held(""), "");
  EXPECT_EQ(held("a"), "a");
  EXPECT_EQ(held("abcde"), "abcde");
  EXPECT_EQ(held("fifteen letters"), "fifteen letters");
  EXPECT_EQ(held("sixteen letters!"), "sixteen letters!");
  EXPECT_EQ(held("sixteen letters!" + std::string(284, 'x')), "sixteen letters!");
}

TEST_F(TavServer, AsksForTheVersionWithCodeOne) {
  unsigned version = 5;
  EXPECT_EQ(server.QueryVersion(version, &request), 14U);
  EXPECT_EQ(peer.receive().datagram, frame_request(tavtest::make_packet(1, request.registeredId), secret));
  EXPECT_EQ(request.context, &version);
  EXPECT_NE(request.completion, nullptr);
}

TEST_F(TavServer, StoresTheVersionOnlyOnCompletion) {
  unsigned version = 5;
  server.QueryVersion(version, &request);
  const auto sent = peer.receive();
  EXPECT_EQ(version, 5U);
  peer.reply_interim(sent);
  EXPECT_EQ(server.CompleteRequest(), &request);
  EXPECT_EQ(version, 5U);
  peer.reply_version(sent, 0x81020304);
  EXPECT_EQ(server.CompleteRequest(), &request);
  EXPECT_EQ(version, 0x81020304U);
  EXPECT_EQ(request.status, 0U);
}

TEST_F(TavServer, StoresNoVersionFromARefusalOrAForgery) {
  unsigned version = 5;
  server.QueryVersion(version, &request);
  const auto sent = peer.receive();
  peer.reply_error(sent);
  EXPECT_EQ(server.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 2U);
  peer.reply_bad_digest(sent);
  EXPECT_EQ(server.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 13U);
  EXPECT_EQ(version, 5U);
}

// A synchronous request clears its packet; an asynchronous one sends its caller's bytes where it sets none.
TEST_F(TavServer, LeavesTheRestOfTheCallersPacketAsItIs) {
  Bytes packet(100, 0x77);
  std::memcpy(&request.packet, packet.data(), packet.size());
  unsigned version = 0;
  server.QueryVersion(version, &request);
  tavtest::put_be32(packet, 0, 100);
  packet[4] = 1;
  tavtest::put_be32(packet, 8, request.registeredId);
  EXPECT_EQ(peer.receive().datagram, frame_request(packet, secret));
}

TEST_F(TavServer, TheCompletionRoutineReadsTheVersionAtOffset28) {
  unsigned version = 0;
  Bytes reply = tavtest::make_packet(0x81, 1);
  tavtest::put_be32(reply, 28, 0xfedcba98);
  std::memcpy(&request.packet, reply.data(), reply.size());
  request.context = &version;
  EXPECT_EQ(TAVServerInterface::QueryVersionComplete(&server, &request), 0U);
  EXPECT_EQ(version, 0xfedcba98U);
}

TEST_F(TavServer, AsksForAnEntryWithCodeThreeThreeArgumentsAndTheFilter) {
  int context = 0;
  request.context = &context;
  const auto filter = sample_record<_TAVENTRYW>();
  EXPECT_EQ(server.QueryEntry(0xa1, 0x80000002, 0xa3, filter, &request), 14U);
  const auto expected =
      tavtest::query_packet(request.registeredId, 0xa1, 0x80000002, 0xa3, tavtest::sample_on_wire());
  EXPECT_EQ(peer.receive().datagram, frame_request(expected, secret));
  EXPECT_EQ(request.context, &context);
}

TEST_F(TavServer, AFilterMayFillThePacketToItsEndAndNoFurther) {
  EXPECT_EQ(server.QueryEntry(0, 0, 0, long_entry<_TAVENTRYW>(1000), &request), 11U);
  EXPECT_TRUE(peer.is_idle());
  EXPECT_EQ(request.registeredId, 0U);
  EXPECT_EQ(server.QueryEntry(0, 0, 0, long_entry<_TAVENTRYW>(999), &request), 14U);
  EXPECT_EQ(peer.receive().packet.size(), 4096U);
}

TEST_F(TavServer, QueriesThatFailLeaveItUp) {
  tavtest::SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  unsigned version = 0;
  EXPECT_EQ(server.QueryVersion(version, &request), 12U);
  EXPECT_EQ(server.QueryEntry(0, 0, 0, sample_record<_TAVENTRYW>(), &request), 12U);
  EXPECT_EQ(server.QueryEntry(0, 0, 0, long_entry<_TAVENTRYW>(1000), &request), 11U);
  EXPECT_EQ(server.IsCommUp(), 1);
}

// What would take the answer is set before the request is sent, so it stands there also when that fails.
TEST_F(TavServer, AVersionRequestThatIsNotSentKnowsWhatTakesItsAnswer) {
  tavtest::SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  unsigned version = 5;
  ASSERT_EQ(server.QueryVersion(version, &request), 12U);
  EXPECT_EQ(request.context, &version);
  ASSERT_NE(request.completion, nullptr);
  Bytes reply = tavtest::make_packet(0x81, 1);
  tavtest::put_be32(reply, 28, 0xfedcba98);
  std::memcpy(&request.packet, reply.data(), reply.size());
  EXPECT_EQ(request.completion(&server, &request), 0U);
  EXPECT_EQ(version, 0xfedcba98U);
}

TEST_F(TavServer, AQueryThatIsNotSentKnowsWhatTakesItsAnswer) {
  tavtest::SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  const auto filter = sample_record<_TAVENTRYW>();
  ASSERT_EQ(server.QueryEntry(0, 0, 0, filter, &request), 12U);
  expect_to_take_an_answer();
}

TEST_F(TavServer, AQueryWhoseFilterDoesNotFitKnowsWhatTakesItsAnswer) {
  ASSERT_EQ(server.QueryEntry(0, 0, 0, long_entry<_TAVENTRYW>(1000), &request), 11U);
  expect_to_take_an_answer();
}

TEST_F(TavServer, AQueryWithoutAnEnumerationIsSettledWithSeventeen) {
  ASSERT_EQ(server.QueryEntry(0, 0, 0, sample_record<_TAVENTRYW>(), &request), 14U);
  request.context = nullptr;
  peer.reply_no_entry(peer.receive());
  EXPECT_EQ(server.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 17U);
}

}  // namespace
