// Requests settled while somebody else waited: kept until their owners are told.

#include <initializer_list>

#include "protocol/server_interface_fixture.h"
#include "support/allocation_faults.h"

namespace {

using tavtest::FakeServer;
using tavtest::TransportTest;
using Request = ServerInterface::ASyncRequest;

bool any(const Request* /*request*/) {
  return true;
}
bool none(const Request* /*request*/) {
  return false;
}
bool marked(const Request* request) {
  return request->context != nullptr;
}

class ServerInterfaceSettled : public TransportTest {
 protected:
  ServerInterfaceSettled() {
    for (Request* request : {&first, &second, &waiting})
      request->handle = this;
    first_sent = start(first);
    second_sent = start(second);
    waiting_sent = start(waiting);
  }

  Request first;
  Request second;
  Request waiting;
  FakeServer::Request first_sent;
  FakeServer::Request second_sent;
  FakeServer::Request waiting_sent;
};

TEST_F(ServerInterfaceSettled, AnothersAnswerIsKeptAndHandedOutOnce) {
  server.reply_status(first_sent);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(first.status, 0U);
  EXPECT_EQ(transport.TakeSettled(any), &first);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, TheWaitersOwnAnswerIsNotKept) {
  server.reply_status(waiting_sent);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(waiting.status, 0U);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, ARequestWithoutAnOwnerIsNotKept) {
  first.handle = nullptr;
  server.reply_status(first_sent);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(first.status, 0U);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, AnInterimReplyIsNothingToTell) {
  server.reply_interim(first_sent);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(first.status, 14U);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, NothingArrivedIsNothingToTell) {
  transport.CompleteFor(&waiting);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, TheOldestWantedComesFirst) {
  server.reply_status(second_sent);
  server.reply_bad_digest(first_sent);
  transport.CompleteFor(&waiting);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(transport.TakeSettled(none), nullptr);
  first.context = this;
  EXPECT_EQ(transport.TakeSettled(marked), &first);
  EXPECT_EQ(first.status, 13U);
  EXPECT_EQ(transport.TakeSettled(any), &second);
}

TEST_F(ServerInterfaceSettled, OrderOfArrivalIsKept) {
  server.reply_status(second_sent);
  server.reply_status(first_sent);
  transport.CompleteFor(&waiting);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(transport.TakeSettled(any), &second);
  EXPECT_EQ(transport.TakeSettled(any), &first);
}

// An error reply leaves the request registered: what follows replaces it.
TEST_F(ServerInterfaceSettled, AFinalReplyAfterAnErrorIsKeptOnce) {
  server.reply_error(first_sent);
  server.reply_status(first_sent);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(first.status, 2U);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(first.status, 0U);
  EXPECT_EQ(transport.TakeSettled(any), &first);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, AnInterimReplyAfterAnErrorTakesTheNewsBack) {
  server.reply_error(first_sent);
  server.reply_interim(first_sent);
  transport.CompleteFor(&waiting);
  transport.CompleteFor(&waiting);
  EXPECT_EQ(first.status, 14U);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, AnAnswerReadForItsOwnerIsKeptNoLonger) {
  server.reply_error(first_sent);
  transport.CompleteFor(&waiting);
  server.reply_status(first_sent);
  EXPECT_EQ(transport.CompleteRequest(), &first);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, ARequestSentAgainIsKeptNoLonger) {
  server.reply_status(first_sent);
  transport.CompleteFor(&waiting);
  start(first);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, AnAbandonedRequestIsKeptNoLonger) {
  server.reply_error(first_sent);
  transport.CompleteFor(&waiting);
  transport.AbandonRequest(&first);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
}

TEST_F(ServerInterfaceSettled, AForgottenRequestLeavesNoTrace) {
  transport.Forget(&first);
  server.reply_status(first_sent);
  EXPECT_EQ(transport.CompleteRequest(), nullptr);
  EXPECT_EQ(first.status, 14U);

  server.reply_status(second_sent);
  transport.CompleteFor(&waiting);
  transport.Forget(&second);
  EXPECT_EQ(transport.TakeSettled(any), nullptr);
  EXPECT_EQ(transport.requests.size(), 1U);
}

// The memory of a forgotten request may hold another one's id by now.
TEST_F(ServerInterfaceSettled, ForgettingGoesByTheRequestAndNotByItsIdAlone) {
  Request impostor;
  impostor.registeredId = first.registeredId;
  transport.Forget(&impostor);
  EXPECT_EQ(transport.AbandonRequest(&impostor), 0U);
  EXPECT_EQ(impostor.status, 0U);
  server.reply_status(first_sent);
  EXPECT_EQ(transport.CompleteRequest(), &first);
}

TEST_F(ServerInterfaceSettled, KeepingARequestByHandHandsItOutAgain) {
  server.reply_status(first_sent);
  ASSERT_EQ(transport.CompleteRequest(), &first);
  transport.KeepSettled(&first);
  EXPECT_EQ(transport.TakeSettled(any), &first);
}

// Whatever arrives, and whoever reads it.
TEST_F(ServerInterfaceSettled, ReceivingAllocatesNothing) {
  server.reply_error(first_sent);
  server.reply_interim(first_sent);
  server.reply_status(first_sent);
  server.reply_bad_digest(second_sent);
  server.reply_status(second_sent);  // of no use to anybody any more
  server.reply_status(waiting_sent);
  const tavtest::AllocationFaults faults(0);
  for (int i = 0; i < 5; ++i)
    transport.CompleteFor(&waiting);
  Request* last = transport.CompleteRequest();
  EXPECT_FALSE(faults.happened());
  EXPECT_EQ(last, &waiting);
  EXPECT_EQ(first.status, 0U);
  EXPECT_EQ(second.status, 13U);
}

// Room for a settled request is made when it is sent.
TEST_F(ServerInterfaceSettled, ManyAnswersAtOnceAreAllKept) {
  std::vector<Request> many(100);
  std::vector<FakeServer::Request> sent;
  for (Request& request : many) {
    request.handle = this;
    sent.push_back(start(request));
  }
  for (const auto& each : sent)
    server.reply_status(each);
  const std::size_t room = transport.settled.capacity();
  for (std::size_t i = 0; i < many.size(); ++i)
    transport.CompleteFor(&waiting);
  EXPECT_EQ(transport.settled.capacity(), room);
  for (Request& request : many)
    EXPECT_EQ(transport.TakeSettled(any), &request);
}

}  // namespace
