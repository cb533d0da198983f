// Each allocation of a call fails in turn. What a leak checker finds afterwards is a failure, too.

#include <new>

#include "api/api_fixture.h"
#include "support/allocation_faults.h"

using namespace tavtest;

namespace {

// Runs `call` with its first allocation failing, with its second, and so on until it needs no more; `check`
// looks at what each failure led to. The number of failures.
template <typename Call, typename Check>
long fail_each_allocation(Call call, Check check) {
  for (long failing = 0;; ++failing) {
    SCOPED_TRACE(failing);
    std::optional<AllocationFaults> faults(failing);
    call();
    const bool happened = faults->happened();
    faults.reset();
    if (!happened) return failing;
    check();
  }
}

class StartWithoutMemory : public InitialisedTest {
 protected:
  ~StartWithoutMemory() override { TAVQueryClose(query); }

  void expect_9() {
    EXPECT_TRUE(failed_with(9, result));
    EXPECT_EQ(query, nullptr);
    TAVSetLastError(untouched);
  }

  TAVQueryEnum* query = nullptr;
  unsigned char block[3] = {1, 2, 3};
  int result = -1;
};

// The thread's record is made by the first call that sets or reads its last error.
class RecordWithoutMemory : public ApiTest {
 protected:
  RecordWithoutMemory() { EXPECT_EQ(TAVInitialize(), 1); }
};

class LayerWithoutMemory : public ApiTest {
 protected:
  // The look-up's callback.
  static void ended(int success, void* cookie) {
    auto& self = *static_cast<LayerWithoutMemory*>(cookie);
    ++self.ends;
    self.success = success;
    self.last_error = TAVGetLastError();
  }

  const char* product = nullptr;
  bool thrown = false;
  int ends = 0;
  int success = -1;
  unsigned last_error = 0;
};

}  // namespace

// The filter's three texts and its block are copied, and the enumeration needs memory itself.
TEST_F(StartWithoutMemory, OfAWideFilterFailsWith9) {
  wchar_t text[] = L"text";
  _TAVENTRYW filter{};
  filter.user = filter.string2 = filter.string3 = text;
  filter.data = block;
  filter.dataLength = sizeof block;
  const long failures = fail_each_allocation(
      [&] { result = TAVQueryStartW(&filter, 0, 0, address(), 0, &query); }, [this] { expect_9(); });
  EXPECT_EQ(result, 1);
  EXPECT_NE(query, nullptr);
  EXPECT_GE(failures, 5);
}

// They are copied twice here: into a wide filter first.
TEST_F(StartWithoutMemory, OfAnEightBitFilterFailsWith9) {
  char text[] = "text";
  _TAVENTRYA filter{};
  filter.user = filter.string2 = filter.string3 = text;
  filter.data = block;
  filter.dataLength = sizeof block;
  const long failures = fail_each_allocation(
      [&] { result = TAVQueryStartA(&filter, 0, 0, address(), 0, &query); }, [this] { expect_9(); });
  EXPECT_EQ(result, 1);
  EXPECT_NE(query, nullptr);
  EXPECT_GE(failures, 9);
}

TEST_F(RecordWithoutMemory, KeepsTheLastErrorThatWasSetInTheMeantime) {
  std::optional<AllocationFaults> faults(0);
  TAVSetLastError(42);
  EXPECT_TRUE(faults->happened());
  faults.reset();
  EXPECT_EQ(TAVGetLastError(), 42u);
}

// A waiting call would neither wait for nor release a request that is not told to be pending.
TEST_F(RecordWithoutMemory, TellsThatARequestIsPending) {
  unsigned version = 0;
  TAVASYNC async{};
  std::optional<AllocationFaults> faults(4);  // behind the request, its two places and its datagram
  EXPECT_EQ(TAVQueryVersionAs(address(), &version, &async), 0);
  EXPECT_TRUE(faults->happened());
  faults.reset();
  ASSERT_NE(async.Request, nullptr);
  EXPECT_EQ(TAVGetLastError(), 14u);
  server.reply_version(server.receive(), 7);
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_EQ(version, 7u);
}

TEST_F(LayerWithoutMemory, DoesNotStartOnAnythingButTheGatewaysAddress) {
  long refused = 0;
  fail_each_allocation(
      [this] {
        thrown = false;
        try {
          product = SSO_Init();
        } catch (const std::bad_alloc&) {
          thrown = true;
          product = nullptr;
        }
      },
      [&] {
        if (product == nullptr) {
          ++refused;
          EXPECT_EQ(g_SsoReady, 0u);
          EXPECT_TRUE(thrown || TAVGetLastError() == 3 || TAVGetLastError() == 9) << TAVGetLastError();
        } else {
          EXPECT_EQ(g_SsoServer, address());
        }
        restore_load_state();
      });
  EXPECT_STREQ(product, "Norvel TAV/TIZ");
  EXPECT_EQ(g_SsoServer, address());
  EXPECT_GE(refused, 10);
  SSO_Exit();
}

TEST_F(LayerWithoutMemory, TellsALookupThatCannotStartWith9) {
  ASSERT_NE(SSO_Init(), nullptr);
  TAVSetLastError(untouched);
  const auto look_up = [this] { SSO_GetUserByAddrAsync(1, nullptr, 0, nullptr, 0, ended, this); };
  const long failures = fail_each_allocation(look_up, [this] {
    EXPECT_EQ(std::exchange(ends, 0), 1);
    EXPECT_EQ(success, 0);
    EXPECT_EQ(last_error, 9u);
    EXPECT_TRUE(server.is_idle());
  });
  EXPECT_GE(failures, 4);
  server.reply_no_entry(server.receive());
  EXPECT_EQ(ends, 0);
  SSO_Exit();
}
