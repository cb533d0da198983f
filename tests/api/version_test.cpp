// The protocol version of a server: the simplest request, in both forms.

#include <arpa/inet.h>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

class Version : public InitialisedTest {
 protected:
  unsigned version = 7;
  int dummy = 0;
  TAVASYNC async{&dummy, nullptr};
};

// A server to which nothing can be sent: its port is 0.
class UnreachableServer : public ApiTest {
 protected:
  UnreachableServer() {
    config.write_servers({{"127.0.0.1", 0, "x"}});
    EXPECT_EQ(TAVInitialize(), 1);
    TAVSetLastError(untouched);
  }
};

}  // namespace

TEST_F(Version, IsWaitedFor) {
  answer_next_wait([this](const auto& request) { server.reply_version(request, 0x01020304); });
  EXPECT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_EQ(version, 0x01020304u);
  EXPECT_EQ(time.timeouts(), std::vector<long long>{300'000'000});
}

TEST_F(Version, RequestIs100BytesWithCode1AndNothingElse) {
  ASSERT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  const auto request = server.receive();
  EXPECT_EQ(undigested(request.packet), make_packet(1, request.id(), 100));
  EXPECT_EQ(TAVASyncStatus(&async, 1), 0);
}

TEST_F(Version, AsynchronousFormSendsAndReturnsWith14) {
  EXPECT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &async)));
  EXPECT_FALSE(server.is_idle());
  EXPECT_TRUE(time.waits().empty());
  ASSERT_NE(async.Request, nullptr);
  EXPECT_EQ(async.Request->handle, &async);
  EXPECT_EQ(async.Request->owner, g_ServerList->FindByServer(address()));
  EXPECT_EQ(async.Request->status, 14u);
  EXPECT_EQ(async.Context, &dummy);
  EXPECT_EQ(version, 7u);
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
}

TEST_F(Version, AsynchronousFormAttachesAFreshRequestWhateverTheHandleHeld) {
  ServerInterface::ASyncRequest stale;
  async.Request = &stale;
  ASSERT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  EXPECT_NE(async.Request, &stale);
  const auto* bytes = reinterpret_cast<const unsigned char*>(&async.Request->packet);
  EXPECT_EQ(Bytes(bytes + 100, bytes + 4096), Bytes(3996));
  EXPECT_EQ(TAVASyncStatus(&async, 1), 0);
}

TEST_F(Version, AsynchronousAnswerIsDeliveredOnCompletion) {
  ASSERT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  server.reply_version(server.receive(), 0xfffffffe);
  EXPECT_EQ(version, 7u);
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_EQ(version, 0xfffffffeu);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(async.Context, &dummy);
}

TEST_F(Version, OfAnUnknownServerFailsWith11AndReleasesTheRequest) {
  EXPECT_TRUE(failed_with(11, TAVQueryVersionAs(inet_addr("127.9.9.9"), &version, &async)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(async.Context, &dummy);
}

TEST_F(Version, OfAnUnknownServerIsNotWaitedFor) {
  EXPECT_TRUE(failed_with(11, TAVQueryVersion(inet_addr("127.9.9.9"), &version)));
  EXPECT_TRUE(time.waits().empty());
  EXPECT_EQ(version, 7u);
}

TEST_F(UnreachableServer, FailsWith12AndReleasesTheRequest) {
  unsigned version = 7;
  TAVASYNC async{};
  EXPECT_TRUE(failed_with(12, TAVQueryVersionAs(inet_addr("127.0.0.1"), &version, &async)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_TRUE(failed_with(12, TAVQueryVersion(inet_addr("127.0.0.1"), &version)));
  EXPECT_TRUE(time.waits().empty());
  EXPECT_EQ(version, 7u);
}

TEST_F(Version, ErrorReplyGives2) {
  answer_next_wait([this](const auto& request) { server.reply_error(request); });
  EXPECT_TRUE(failed_with(2, TAVQueryVersion(address(), &version)));
  EXPECT_EQ(version, 7u);
}

TEST_F(Version, WrongDigestGives13) {
  answer_next_wait([this](const auto& request) { server.reply_bad_digest(request); });
  EXPECT_TRUE(failed_with(13, TAVQueryVersion(address(), &version)));
  EXPECT_EQ(version, 7u);
}

TEST_F(Version, InterimRepliesProlongTheWait) {
  std::optional<FakeServer::Request> request;
  time.script({[&] { server.reply_interim(request.emplace(server.receive())); },
               [&] { server.reply_interim(*request); }, [&] { server.reply_version(*request, 3); }});
  EXPECT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_EQ(version, 3u);
  EXPECT_EQ(time.timeouts(), std::vector<long long>(3, 300'000'000));
}

TEST_F(Version, NoAnswerGives4) {
  EXPECT_TRUE(failed_with(4, TAVQueryVersion(address(), &version)));
  EXPECT_EQ(version, 7u);
}
