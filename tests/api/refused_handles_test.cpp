// A handle whose request is refused is empty afterwards, whatever it held: a host may abandon it on every way
// out.

#include <array>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

class RefusedHandle : public ApiTest {
 protected:
  void expect_refused(unsigned code, int result) {
    EXPECT_TRUE(failed_with(code, result));
    EXPECT_EQ(async.Request, nullptr);
    EXPECT_EQ(async.Context, this);
    EXPECT_EQ(TAVASyncAbandon(&async), 1);
  }

  // Left over from whatever the memory was used for before.
  std::array<unsigned char, 16> no_request{0xff};
  TAVASYNC async{this, static_cast<ServerInterface::ASyncRequest*>(static_cast<void*>(no_request.data()))};
  _TAVENTRYA narrow{};
  _TAVENTRYW wide{};
  unsigned version = untouched;
};

}  // namespace

TEST_F(RefusedHandle, IsEmptyAfterAVersionRequestWithoutTheLibrary) {
  expect_refused(7, TAVQueryVersionAs(address(), &version, &async));
}

TEST_F(RefusedHandle, IsEmptyAfterAStepWithoutTheLibrary) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartA(&narrow, 0, 0, address(), 0, &query), 1);
  TAVExit();
  expect_refused(7, TAVQueryNextAsA(query, &narrow, &async));
  TAVQueryClose(query);
}

TEST_F(RefusedHandle, IsEmptyAfterAStepOfAnEnumerationBeforeTheLastExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartW(&wide, 0, 0, address(), 0, &query), 1);
  TAVExit();
  ASSERT_EQ(TAVInitialize(), 1);
  expect_refused(7, TAVQueryNextAsW(query, &wide, &async));
  TAVQueryClose(query);
}

TEST_F(RefusedHandle, IsEmptyAfterAStepWithoutAnEnumeration) {
  ASSERT_EQ(TAVInitialize(), 1);
  expect_refused(17, TAVQueryNextAsW(nullptr, &wide, &async));
}

TEST_F(RefusedHandle, IsEmptyAfterAnUnknownServer) {
  ASSERT_EQ(TAVInitialize(), 1);
  expect_refused(11, TAVQueryVersionAs(1, &version, &async));
}
