// How a request gets onto its caller's handle, and off it again.

#include "api/attached_request.h"

#include <algorithm>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

class AttachedRequest : public InitialisedTest {
 protected:
  int context = 0;
  TAVASYNC async{&context, nullptr};
};

}  // namespace

TEST_F(AttachedRequest, BeginsWithAClearPacketAndItsHandle) {
  const auto* const request = tavlib::attach_request(async);
  EXPECT_EQ(async.Request, request);
  EXPECT_EQ(request->handle, &async);
  const auto* const bytes = reinterpret_cast<const unsigned char*>(&request->packet);
  EXPECT_EQ(std::count(bytes, bytes + 4096, 0), 4096);
  tavlib::release_request(async);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(async.Context, &context);
}

TEST_F(AttachedRequest, StaysWhenTheCallWasAnsweredAtOnce) {
  const auto* const request = tavlib::attach_request(async);
  EXPECT_EQ(tavlib::started(async, 0), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(async.Request, request);
  tavlib::release_request(async);
}

TEST_F(AttachedRequest, StaysWhileItIsPending) {
  const auto* const request = tavlib::attach_request(async);
  EXPECT_TRUE(failed_with(14, tavlib::started(async, 14)));
  EXPECT_EQ(async.Request, request);
  tavlib::release_request(async);
}

TEST_F(AttachedRequest, IsReleasedAfterAnyOtherCode) {
  for (const unsigned code : {2u, 3u, 4u, 6u, 9u, 10u, 11u, 12u, 13u, 15u, 17u}) {
    tavlib::attach_request(async);
    EXPECT_TRUE(failed_with(code, tavlib::started(async, code)));
    EXPECT_EQ(async.Request, nullptr);
  }
}

TEST_F(AttachedRequest, AbandonedByItsCallerEndsWith17) {
  unsigned version = 7;
  ASSERT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &async)));
  EXPECT_EQ(async.Request->owner->AbandonRequest(async.Request), 0u);
  EXPECT_TRUE(failed_with(17, TAVASyncStatus(&async, 0)));
  EXPECT_EQ(async.Request, nullptr);
  server.reply_version(server.receive(), 3);
  TAVASYNC* popped = nullptr;
  EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
  EXPECT_EQ(popped, nullptr);
  EXPECT_EQ(version, 7u);
}
