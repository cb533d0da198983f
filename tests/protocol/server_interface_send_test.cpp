// What StartRequest sends, and what it leaves behind when it cannot.

#include <arpa/inet.h>
#include <tavlib/platform/error_state.h>

#include <cerrno>

#include "protocol/server_interface_fixture.h"
#include "support/allocation_faults.h"
#include "support/socket_faults.h"

namespace {

using tavtest::AllocationFaults;
using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::frame_request;
using tavtest::OpenTransport;
using tavtest::SocketFaults;
using tavtest::TransportTest;
using Request = ServerInterface::ASyncRequest;

/// A packet of `length` bytes, none of them zero behind the header.
Bytes patterned_packet(std::uint8_t code, std::uint32_t length) {
  Bytes packet(std::max<std::size_t>(length, 12));
  for (std::size_t i = 0; i < packet.size(); ++i)
    packet[i] = static_cast<std::uint8_t>(i % 251 + 1);
  tavtest::put_be32(packet, 0, length);
  packet[4] = code;
  return packet;
}

class ServerInterfaceSend : public TransportTest {
 protected:
  Request request;
};

TEST_F(ServerInterfaceSend, FilesTheRequestUnderTheIdItGaveIt) {
  tavtest::load(request.packet, patterned_packet(1, 100));
  request.status = 99;
  request.registeredId = 98;
  EXPECT_EQ(transport.StartRequest(&request), 14U);
  const auto sent = server.receive();
  EXPECT_EQ(request.status, 14U);
  EXPECT_EQ(transport.StatusRequest(&request), 14U);
  EXPECT_EQ(request.registeredId, sent.id());
  EXPECT_EQ(request.owner, &transport);
  ASSERT_EQ(transport.requests.size(), 1U);
  EXPECT_EQ(transport.requests.at(sent.id()), &request);
}

TEST_F(ServerInterfaceSend, LeavesTheOwnersFieldsAlone) {
  int handle = 0;
  int context = 0;
  request.handle = &handle;
  request.context = &context;
  start(request);
  EXPECT_EQ(request.handle, &handle);
  EXPECT_EQ(request.context, &context);
  EXPECT_EQ(request.completion, nullptr);
}

TEST_F(ServerInterfaceSend, IdsRiseByOneAcrossTransports) {
  OpenTransport second(server.address_number(), server.port(), secret);
  Request requests[3];
  for (Request& each : requests)
    tavtest::load(each.packet, tavtest::make_packet(1, 0));
  transport.StartRequest(&requests[0]);
  second.StartRequest(&requests[1]);
  transport.StartRequest(&requests[2]);
  EXPECT_EQ(requests[1].registeredId, requests[0].registeredId + 1);
  EXPECT_EQ(requests[2].registeredId, requests[0].registeredId + 2);
}

// Each request code, and lengths around the sizes of a block: below 100 bytes a packet goes out with whatever
// is in its digest field.
struct Sent {
  std::uint8_t code;
  std::uint32_t length;
  std::size_t datagram;

  friend void PrintTo(const Sent& sent, std::ostream* out) {
    *out << "code " << unsigned{sent.code} << ", " << sent.length << " bytes";
  }
};

class ServerInterfaceDatagram : public ServerInterfaceSend, public testing::WithParamInterface<Sent> {};

TEST_P(ServerInterfaceDatagram, IsTheDigestedPacketEncipheredBehindItsLength) {
  Bytes packet = patterned_packet(GetParam().code, GetParam().length);
  tavtest::load(request.packet, packet);
  ASSERT_EQ(transport.StartRequest(&request), 14U);
  const auto sent = server.receive_unopened();
  ASSERT_TRUE(sent);

  tavtest::put_be32(packet, 8, request.registeredId);
  packet.resize(GetParam().length);
  EXPECT_EQ(sent->datagram.size(), GetParam().datagram);
  EXPECT_EQ(sent->datagram, frame_request(packet, secret));
}

INSTANTIATE_TEST_SUITE_P(Codes, ServerInterfaceDatagram,
                         testing::Values(Sent{1, 100, 108}, Sent{2, 100, 108}, Sent{3, 100, 108},
                                         Sent{4, 100, 108}, Sent{5, 100, 108}));
INSTANTIATE_TEST_SUITE_P(Lengths, ServerInterfaceDatagram,
                         testing::Values(Sent{2, 103, 108}, Sent{2, 104, 116}, Sent{2, 4095, 4100},
                                         Sent{2, 4096, 4108}));
INSTANTIATE_TEST_SUITE_P(Undigested, ServerInterfaceDatagram,
                         testing::Values(Sent{1, 0, 12}, Sent{1, 3, 12}, Sent{1, 28, 36}, Sent{1, 99, 108}));

TEST_F(ServerInterfaceSend, LeavesTheDigestInTheRequestsPacket) {
  const auto sent = start(request);
  EXPECT_EQ(tavtest::memory_of(request.packet, 100), sent.packet);
  EXPECT_TRUE(tavtest::digest_is_right(sent.packet, secret));
}

class ServerInterfaceSecret : public testing::TestWithParam<std::size_t> {};

TEST_P(ServerInterfaceSecret, OfAnyLengthKeysDigestAndCipher) {
  const std::string secret = std::string("pass phrase of some length").substr(0, GetParam()) +
                             std::string(GetParam() > 26 ? GetParam() - 26 : 0, 'x');
  FakeServer server(secret);
  OpenTransport transport(server.address_number(), server.port(), secret.c_str());
  Request request;
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  ASSERT_EQ(transport.StartRequest(&request), 14U);
  const auto sent = server.receive();
  EXPECT_EQ(sent.datagram, frame_request(tavtest::make_packet(1, request.registeredId), secret));
}

INSTANTIATE_TEST_SUITE_P(Lengths, ServerInterfaceSecret, testing::Values(0, 1, 4, 5, 6, 15, 16, 17, 300));

TEST_F(ServerInterfaceSend, AServerThatCannotBeReachedFailsWithTwelveAndKeepsTheReason) {
  OpenTransport nowhere(INADDR_BROADCAST, 9, secret);  // refused: the socket may not broadcast
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  request.registeredId = 55;
  AErrors::SetOsError(0);
  EXPECT_EQ(nowhere.StartRequest(&request), 12U);
  EXPECT_EQ(AErrors::GetOsError(), static_cast<unsigned>(EACCES));
  EXPECT_EQ(request.status, 14U);
  EXPECT_EQ(request.registeredId, 0U);
  EXPECT_EQ(request.owner, nullptr);
  EXPECT_TRUE(nowhere.requests.empty());
}

TEST_F(ServerInterfaceSend, AFailedSendKeepsTheRequestsOfOthers) {
  Request other;
  const auto sent = start(other);
  SocketFaults faults;
  faults.fail("sendto", ENOBUFS);
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  EXPECT_EQ(transport.StartRequest(&request), 12U);
  EXPECT_EQ(AErrors::GetOsError(), static_cast<unsigned>(ENOBUFS));
  ASSERT_EQ(transport.requests.size(), 1U);
  EXPECT_EQ(transport.requests.at(sent.id()), &other);
}

TEST_F(ServerInterfaceSend, ADatagramThatIsNotTakenWholeFailsWithTwelve) {
  SocketFaults faults;
  faults.shorten_sends(1);
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  AErrors::SetOsError(EXDEV);
  EXPECT_EQ(transport.StartRequest(&request), 12U);
  EXPECT_EQ(AErrors::GetOsError(), static_cast<unsigned>(EXDEV));
  EXPECT_EQ(request.status, 14U);
  EXPECT_EQ(request.registeredId, 0U);
  EXPECT_EQ(request.owner, nullptr);
  EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ServerInterfaceSend, AFailedSendUsesItsIdUp) {
  Request before;
  const std::uint32_t last = start(before).id();
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  {
    SocketFaults faults;
    faults.fail("sendto", ENOBUFS);
    transport.StartRequest(&request);
  }
  EXPECT_EQ(start(request).id(), last + 2);
}

// Each allocation of a send fails in turn, until one send needs no more of them.
TEST_F(ServerInterfaceSend, WithoutMemoryFailsWithNineAndRegistersNothing) {
  tavtest::load(request.packet, tavtest::make_packet(1, 0));
  long failures = 0;
  for (;; ++failures) {
    OpenTransport fresh(server.address_number(), server.port(), secret);
    const AllocationFaults faults(failures);
    const unsigned status = fresh.StartRequest(&request);
    if (!faults.happened()) break;
    EXPECT_EQ(status, 9U);
    EXPECT_EQ(request.status, 14U);
    EXPECT_EQ(request.registeredId, 0U);
    EXPECT_EQ(request.owner, nullptr);
    EXPECT_TRUE(fresh.requests.empty());
    EXPECT_TRUE(server.is_idle());
  }
  EXPECT_GE(failures, 1);
  EXPECT_FALSE(server.is_idle());
}

TEST_F(ServerInterfaceSend, ALengthWordAboveAPacketFailsWithTenAndSendsNothing) {
  tavtest::load(request.packet, patterned_packet(2, 4097));
  EXPECT_EQ(transport.StartRequest(&request), 10U);
  EXPECT_TRUE(server.is_idle());
  EXPECT_TRUE(transport.requests.empty());
}

TEST_F(ServerInterfaceSend, ARequestThatBecameTooLargeIsRegisteredNoLonger) {
  const auto first = start(request);
  tavtest::load(request.packet, patterned_packet(2, 4097));
  EXPECT_EQ(transport.StartRequest(&request), 10U);
  EXPECT_EQ(request.status, 14U);
  EXPECT_EQ(request.registeredId, 0U);
  EXPECT_TRUE(transport.requests.empty());
  server.reply_status(first);
  EXPECT_EQ(transport.CompleteRequest(), nullptr);
}

// Ids come round after 2^32 requests.
TEST_F(ServerInterfaceSend, ANewRequestTakesThePlaceOfAnOlderOneWithItsId) {
  Request older;
  const std::uint32_t next = start(older).id() + 1;
  transport.requests[next] = &older;
  const auto sent = start(request);
  ASSERT_EQ(sent.id(), next);
  EXPECT_EQ(transport.requests.at(next), &request);
  server.reply_status(sent);
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(older.status, 14U);
}

TEST_F(ServerInterfaceSend, ARequestSentAgainHearsOnlyOfItsNewId) {
  const auto first = start(request);
  const auto second = start(request);
  EXPECT_EQ(transport.requests.size(), 1U);
  server.reply_status(first);
  EXPECT_EQ(transport.CompleteRequest(), nullptr);
  EXPECT_EQ(request.status, 14U);
  server.reply_status(second);
  EXPECT_EQ(transport.CompleteRequest(), &request);
  EXPECT_EQ(request.status, 0U);
}

}  // namespace
