// Handles and enumerations that are used after the last exit.

#include "api/enumeration_fixture.h"

using namespace tavtest;

namespace {

class ExitedHandle : public EnumerationTest {
 protected:
  ExitedHandle() {
    EXPECT_TRUE(failed_with(14, TAVQueryNextAsA(query, &narrow, &async)));
    request = server.receive();
  }

  FakeServer::Request request;
};

}  // namespace

TEST_F(ExitedHandle, HasNoSocket) {
  TAVExit();
  EXPECT_EQ(TAVASyncSocket(&async), -1);
  EXPECT_EQ(TAVASyncStatus(&async, 0), 0);
}

TEST_F(ExitedHandle, HasTheStatus7WhenPolled) {
  TAVExit();
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, 0)));
  EXPECT_EQ(async.Request, nullptr);
}

TEST_F(ExitedHandle, HasTheStatus7AndNoSocketAsOftenAsItIsAsked) {
  TAVExit();
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, i % 2)));
    EXPECT_EQ(TAVASyncSocket(&async), -1);
  }
}

TEST_F(ExitedHandle, HasTheStatus7WhenWaitedFor) {
  TAVExit();
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(ExitedHandle, StillTellsAnOutcomeThatWasThereBefore) {
  time.script({[this] { server.reply_entry(request, alice()); },
               [this] { server.reply_version(server.receive(), 1); }});
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(address(), &version), 1);
  TAVExit();
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(async.Request, nullptr);
}

TEST_F(ExitedHandle, EndsTheStepOfAnEnumerationThatIsClosedLater) {
  TAVExit();
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, 0)));
  EXPECT_TRUE(failed_with(7, TAVQueryNextA(query, &narrow)));
  close();
}

TEST_F(ExitedHandle, OutlivesAnEnumerationThatIsClosedFirst) {
  TAVExit();
  close();
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, 0)));
}

// The new library may have its servers where the old one's were.
TEST_F(ExitedHandle, IsNotTakenForOneOfTheNextLibrary) {
  TAVExit();
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(TAVASyncSocket(&async), -1);
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(ExitedHandle, AnEnumerationIsNotTakenForOneOfTheNextLibrary) {
  TAVExit();
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_TRUE(failed_with(7, TAVQueryNextA(query, &narrow)));
  EXPECT_TRUE(failed_with(7, TAVASyncStatus(&async, 0)));
}

TEST_F(ExitedHandle, KeepsItsSocketAtAnExitThatIsNotTheLast) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVExit();
  EXPECT_EQ(TAVASyncSocket(&async), TAVGetSocket(address()));
  server.reply_entry(request, alice());
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_STREQ(narrow.user, "ALICE");
}
