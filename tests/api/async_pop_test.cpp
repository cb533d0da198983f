// Completing requests from a host's event loop.

#include <arpa/inet.h>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

// A datagram that arrives for a version request, and what popping it gives.
struct Arrival {
  const char* name;
  void (*send)(FakeServer&, const FakeServer::Request&);
  unsigned code;  // 0 when the request was answered
  bool written;   // whether the handle is handed out
};

void PrintTo(const Arrival& arrival, std::ostream* out) {
  *out << arrival.name;
}

const Arrival arrivals[] = {
    {"Answer", [](FakeServer& s, const FakeServer::Request& r) { s.reply_version(r, 3); }, 0, true},
    {"ErrorReply", [](FakeServer& s, const FakeServer::Request& r) { s.reply_error(r); }, 2, true},
    {"WrongDigest", [](FakeServer& s, const FakeServer::Request& r) { s.reply_bad_digest(r); }, 13, true},
    {"InterimReply", [](FakeServer& s, const FakeServer::Request& r) { s.reply_interim(r); }, 14, true},
    {"AnswerToNobody",
     [](FakeServer& s, const FakeServer::Request& r) { s.reply_packet(r, make_packet(0x81, r.id() + 1)); },
     14, false},
    {"NoReply", [](FakeServer& s, const FakeServer::Request& r) { s.reply_packet(r, r.packet); }, 14, false},
    {"ShortDatagram", [](FakeServer& s, const FakeServer::Request& r) { s.send_raw(r, Bytes(11)); }, 14,
     false},
    {"EmptyDatagram", [](FakeServer& s, const FakeServer::Request& r) { s.send_raw(r, {}); }, 14, false},
    {"Nothing", [](FakeServer&, const FakeServer::Request&) {}, 14, false},
};

class AsyncPop : public InitialisedTest {
 protected:
  AsyncPop() { EXPECT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &async))); }
  ~AsyncPop() override {
    if (async.Request != nullptr) TAVASyncStatus(&async, 1);
  }

  unsigned version = 7;
  int context = 0;
  TAVASYNC async{&context, nullptr};
  TAVASYNC* popped = nullptr;
};

class PoppedArrival : public AsyncPop, public testing::WithParamInterface<Arrival> {};

}  // namespace

TEST_P(PoppedArrival, IsToldByResultLastErrorAndHandle) {
  GetParam().send(server, server.receive());
  TAVSetLastError(untouched);
  if (GetParam().code == 0) {
    EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
    EXPECT_EQ(TAVGetLastError(), untouched);
  } else {
    EXPECT_TRUE(failed_with(GetParam().code, TAVASyncPop(&popped, address())));
  }
  EXPECT_EQ(popped, GetParam().written ? &async : nullptr);
  EXPECT_EQ(async.Context, &context);
}

TEST_P(PoppedArrival, ReleasesTheRequestUnlessItIsPending) {
  GetParam().send(server, server.receive());
  TAVASyncPop(&popped, address());
  EXPECT_EQ(async.Request == nullptr, GetParam().code != 14);
  EXPECT_EQ(version, GetParam().code == 0 ? 3u : 7u);
}

TEST_P(PoppedArrival, IsNeverWaitedFor) {
  GetParam().send(server, server.receive());
  TAVASyncPop(&popped, address());
  EXPECT_TRUE(time.waits().empty());
}

TEST_P(PoppedArrival, LeavesAPendingRequestToBeAnsweredLater) {
  const auto request = server.receive();
  GetParam().send(server, request);
  TAVASyncPop(&popped, address());
  popped = nullptr;
  server.reply_version(request, 4);
  const bool pending = GetParam().code == 14;
  EXPECT_EQ(TAVASyncPop(&popped, address()), pending ? 1 : 0);
  EXPECT_EQ(popped, pending ? &async : nullptr);
}

INSTANTIATE_TEST_SUITE_P(All, PoppedArrival, testing::ValuesIn(arrivals), ByName());

TEST_F(AsyncPop, OfAnUnknownServerFailsWith11AndWritesNothing) {
  EXPECT_TRUE(failed_with(11, TAVASyncPop(&popped, inet_addr("127.9.9.9"))));
  EXPECT_EQ(popped, nullptr);
}

TEST_F(AsyncPop, CompletesOneRequestAtATime) {
  TAVASYNC other{};
  unsigned other_version = 0;
  ASSERT_EQ(TAVQueryVersionAs(address(), &other_version, &other), 0);
  const auto first = server.receive();
  server.reply_version(server.receive(), 2);
  server.reply_version(first, 1);

  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &other);
  EXPECT_NE(async.Request, nullptr);
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  EXPECT_EQ(popped, &async);
  EXPECT_EQ(other_version, 2u);
  EXPECT_EQ(version, 1u);
}

TEST_F(AsyncPop, ATwiceAnsweredRequestIsHandedOutOnce) {
  const auto request = server.receive();
  server.reply_version(request, 1);
  server.reply_version(request, 2);
  EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
  popped = nullptr;
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(version, 1u);
}

TEST_F(AsyncPop, SocketIsThatOfTheRequestsServer) {
  EXPECT_EQ(TAVASyncSocket(&async), TAVGetSocket(address()));
}

namespace {

class TwoServers : public ApiTest {
 protected:
  TwoServers() {
    config.write_servers({server.configured(), other.configured()});
    EXPECT_EQ(TAVInitialize(), 1);
  }

  FakeServer other{"other", "127.0.0.2"};
};

}  // namespace

TEST_F(TwoServers, PopReadsOnlyTheSocketOfTheServerAskedFor) {
  unsigned version = 0;
  TAVASYNC async{};
  TAVASYNC* popped = nullptr;
  ASSERT_EQ(TAVQueryVersionAs(other.address_number(), &version, &async), 0);
  other.reply_version(other.receive(), 5);
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(TAVASyncSocket(&async), TAVGetSocket(other.address_number()));
  EXPECT_EQ(TAVASyncPop(&popped, other.address_number()), 1);
  EXPECT_EQ(popped, &async);
  EXPECT_EQ(version, 5u);
}
