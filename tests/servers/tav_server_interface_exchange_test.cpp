// The requests of a server that wait for their answer: adding an entry, listening, and no longer listening.

#include <gtest/gtest.h>
#include <tavlib/servers/query_enum.h>
#include <tavlib/servers/tav_server_interface.h>

#include <cerrno>

#include "servers/sample_entry.h"
#include "servers/scripted_servers.h"
#include "support/oracle.h"
#include "support/socket_faults.h"

namespace {

using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::frame_request;
using tavtest::long_entry;
using tavtest::Manner;
using tavtest::sample_record;
using tavtest::ScriptedServers;
using Timeouts = std::vector<long long>;

constexpr const char* secret = "secret of 127.0.0.1";

/// A server that answers in the library's waits.
class TavExchange : public testing::Test {
 protected:
  const FakeServer::Request& sent() const { return peers.last(); }

  ScriptedServers peers{{"127.0.0.1"}};
  TAVServerInterface server{peers[0].address_number(), peers[0].port(), secret, 0};
};

template <typename Record>
class TavAdd : public TavExchange {
 protected:
  unsigned add() { return server.AddEntry(sample_record<Record>()); }
};

using Records = testing::Types<_TAVENTRYA, _TAVENTRYW>;
TYPED_TEST_SUITE(TavAdd, Records);

TYPED_TEST(TavAdd, SendsCodeTwoWithOneCountedEntry) {
  EXPECT_EQ(this->add(), 0U);
  const Bytes expected = tavtest::entry_packet(2, this->sent().id(), tavtest::sample_on_wire());
  EXPECT_EQ(this->sent().datagram, frame_request(expected, secret));
  EXPECT_EQ(this->server.IsCommUp(), 1);
}

TYPED_TEST(TavAdd, AnEntryWithoutTextsIsAHundredBytes) {
  EXPECT_EQ(this->server.AddEntry(TypeParam{}), 0U);
  Bytes expected = tavtest::make_packet(2, this->sent().id());
  tavtest::put_be32(expected, 28, 1);
  EXPECT_EQ(this->sent().datagram, frame_request(expected, secret));
}

TYPED_TEST(TavAdd, WaitsFifteenSecondsEachTime) {
  this->peers.time().script({[this] { this->peers[0].reply_interim(this->peers[0].receive()); }});
  EXPECT_EQ(this->add(), 4U);
  EXPECT_EQ(this->peers.time().timeouts(), (Timeouts{15'000'000, 15'000'000}));
}

TYPED_TEST(TavAdd, ARefusalIsReturnedAndTakesTheServerDown) {
  this->peers.set(0, Manner::refuses);
  EXPECT_EQ(this->add(), 2U);
  EXPECT_EQ(this->server.IsCommUp(), 0);
}

TYPED_TEST(TavAdd, AForgedAnswerIsReturnedAndTakesTheServerDown) {
  this->peers.set(0, Manner::corrupts);
  EXPECT_EQ(this->add(), 13U);
  EXPECT_EQ(this->server.IsCommUp(), 0);
}

TYPED_TEST(TavAdd, SilenceIsReturnedAndTakesTheServerDown) {
  this->peers.set(0, Manner::ignores);
  EXPECT_EQ(this->add(), 4U);
  EXPECT_EQ(this->server.IsCommUp(), 0);
}

TYPED_TEST(TavAdd, AFailedSendIsReturnedAndTakesTheServerDown) {
  tavtest::SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  EXPECT_EQ(this->add(), 12U);
  EXPECT_EQ(this->server.IsCommUp(), 0);
}

TYPED_TEST(TavAdd, AnEntryTooLargeIsElevenSendsNothingAndLeavesTheServerUp) {
  EXPECT_EQ(this->server.AddEntry(long_entry<TypeParam>(1000)), 11U);
  EXPECT_TRUE(this->peers[0].is_idle());
  EXPECT_TRUE(this->peers.time().waits().empty());
  EXPECT_EQ(this->server.IsCommUp(), 1);
  EXPECT_EQ(this->server.AddEntry(long_entry<TypeParam>(999)), 0U);
  EXPECT_EQ(this->sent().packet.size(), 4096U);
}

TYPED_TEST(TavAdd, NoLaterSuccessBringsTheServerBackUp) {
  this->peers.set(0, Manner::refuses);
  this->add();
  this->peers.set(0, Manner::accepts);
  EXPECT_EQ(this->add(), 0U);
  EXPECT_EQ(this->server.IsCommUp(), 0);
  EXPECT_EQ(this->server.Listen(80), 0U);
  EXPECT_EQ(this->server.ListenStop(), 0U);
  EXPECT_EQ(this->server.IsCommUp(), 0);

  ServerInterface::ASyncRequest request;
  unsigned version = 0;
  this->server.QueryVersion(version, &request);
  this->peers[0].reply_version(this->peers[0].receive(), 3);
  EXPECT_EQ(this->server.CompleteRequest(), &request);
  EXPECT_EQ(version, 3U);
  EXPECT_EQ(this->server.IsCommUp(), 0);

  const auto filter = sample_record<_TAVENTRYW>();
  TAVQueryEnum query(this->server.GetAddress(), filter, 0, 0, 0, nullptr);
  request.context = &query;
  EXPECT_EQ(this->server.QueryEntry(0, 0, 0, filter, &request), 14U);
  this->peers[0].reply_entry(this->peers[0].receive(), tavtest::sample_on_wire());
  EXPECT_EQ(this->server.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 0U);
  EXPECT_EQ(this->server.IsCommUp(), 0);
  this->server.SetCommUp();
  EXPECT_EQ(this->server.IsCommUp(), 1);
}

class TavListen : public TavExchange, public testing::WithParamInterface<unsigned short> {};

TEST_P(TavListen, SendsCodeFourWithThePortInTwoBytes) {
  EXPECT_EQ(server.Listen(GetParam()), 0U);
  Bytes expected = tavtest::make_packet(4, sent().id());
  tavtest::put_be16(expected, 28, GetParam());
  EXPECT_EQ(sent().datagram, frame_request(expected, secret));
}

INSTANTIATE_TEST_SUITE_P(Ports, TavListen, testing::Values(0, 80, 0x1f90, 0xff00, 65535));

TEST_F(TavExchange, ListenStopSendsCodeFiveAlone) {
  EXPECT_EQ(server.ListenStop(), 0U);
  EXPECT_EQ(sent().datagram, frame_request(tavtest::make_packet(5, sent().id()), secret));
}

TEST_F(TavExchange, ListeningReturnsTheTransportsCodesAndLeavesTheServerUp) {
  for (const auto& [manner, code] : {std::pair{Manner::refuses, 2U}, std::pair{Manner::corrupts, 13U},
                                     std::pair{Manner::ignores, 4U}, std::pair{Manner::accepts, 0U}}) {
    peers.set(0, manner);
    EXPECT_EQ(server.Listen(80), code);
    EXPECT_EQ(server.ListenStop(), code);
    EXPECT_EQ(server.IsCommUp(), 1);
  }
  tavtest::SocketFaults faults;
  faults.fail("sendto", ENETDOWN);
  EXPECT_EQ(server.Listen(80), 12U);
  EXPECT_EQ(server.ListenStop(), 12U);
  EXPECT_EQ(server.IsCommUp(), 1);
}

TEST_F(TavExchange, ListeningWaitsFifteenSecondsEachTime) {
  const auto interim = [this] { peers[0].reply_interim(peers[0].receive()); };
  peers.time().script({interim});
  EXPECT_EQ(server.Listen(80), 4U);
  peers.time().script({interim});
  EXPECT_EQ(server.ListenStop(), 4U);
  EXPECT_EQ(peers.time().timeouts(), (Timeouts{15'000'000, 15'000'000, 15'000'000, 15'000'000}));
}

}  // namespace
