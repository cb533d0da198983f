// The datagram that a request goes out in cannot be sent: last error 12, and errno says why.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include "faults/heap/reason_of.h"
#include "support/config_file.h"
#include "support/fake_server.h"
#include "support/fake_time.h"
#include "support/socket_faults.h"

namespace tavtest {
namespace {

class RequestErrors : public testing::Test {
 protected:
  RequestErrors() {
    EXPECT_NE(SSO_Init(), nullptr);
    faults.fail("sendto", ENETDOWN);
    TAVSetLastError(0);
  }
  ~RequestErrors() override { SSO_Exit(); }

  /// Expects the call to fail for the network's sake.
  template <typename Call>
  void expect_reason(Call call) {
    EXPECT_EQ(reason_of(call), static_cast<unsigned>(ENETDOWN));
    EXPECT_EQ(TAVGetLastError(), 12U);
  }

  unsigned long address() const { return server.address_number(); }

  FakeServer server{"open sesame"};
  TestConfig config{{server.configured()}, server.address()};
  FakeTime time;
  SocketFaults faults;
  TAVASYNC async{};
};

TEST_F(RequestErrors, OfAVersion) {
  unsigned version = 0;
  expect_reason([&] { return TAVQueryVersion(address(), &version); });
  expect_reason([&] { return TAVQueryVersionAs(address(), &version, &async); });
}

TEST_F(RequestErrors, OfAnEnumeration) {
  const _TAVENTRYW filter{};
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartW(&filter, 0, 0, address(), 0, &query), 1);
  _TAVENTRYA narrow{};
  _TAVENTRYW wide{};
  expect_reason([&] { return TAVQueryNextA(query, &narrow); });
  expect_reason([&] { return TAVQueryNextAsW(query, &wide, &async); });
  TAVQueryClose(query);
}

TEST_F(RequestErrors, OfAnAddedEntry) {
  const _TAVENTRYA entry{};
  EXPECT_EQ(reason_of([&] { return TAVAddEntryA(&entry); }), static_cast<unsigned>(ENETDOWN));
}

TEST_F(RequestErrors, OfALookUp) {
  char user[32];
  expect_reason([&] { return SSO_GetUserByAddr(1, user, 31, user, 31); });
}

TEST_F(RequestErrors, OfALookUpInTheEventLoopWhenItsCallbackRuns) {
  char user[32];
  unsigned reason = 0;
  {
    const SpoiledErrno heap;
    SSO_GetUserByAddrAsync(
        1, user, 31, user, 31, [](int, void* told) { *static_cast<unsigned*>(told) = GetOsError(); },
        &reason);
    EXPECT_GT(heap.count(), 0);
  }
  EXPECT_EQ(reason, static_cast<unsigned>(ENETDOWN));
  EXPECT_EQ(TAVGetLastError(), 12U);
}

}  // namespace
}  // namespace tavtest
