// Counted initialisation and exit, and what they build and destroy.

#include <arpa/inet.h>
#include <fcntl.h>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

// What the process-wide state was before main.
struct LoadState {
  std::uint32_t count = init_count();
  bool slot = pTls != nullptr;
  bool list = g_ServerList != nullptr;
  std::uint32_t ready = g_ServerListReady;
  std::uint32_t shared = g_SharedRecord.lastError;
  unsigned last_error = TAVGetLastError();
  std::uint32_t sso_ready = g_SsoReady;
  unsigned long sso_server = g_SsoServer;
  std::uint32_t sso_address = g_SsoEntry.address;
  bool sso_user = g_SsoEntry.user != nullptr;
};
const LoadState at_load;

class Lifecycle : public ApiTest {};

// A server list that fails at its end, and sees whether threads still have records then.
class LastWords : public TAVServerList {
 public:
  explicit LastWords(bool& slotExists) : slot_exists(slotExists) {}
  ~LastWords() override {
    slot_exists = pTls != nullptr;
    TAVSetLastError(55);
  }

 private:
  bool& slot_exists;
};

}  // namespace

TEST(LoadedLibrary, HasAllItsStateZero) {
  EXPECT_EQ(at_load.count, 0u);
  EXPECT_FALSE(at_load.slot);
  EXPECT_FALSE(at_load.list);
  EXPECT_EQ(at_load.ready, 0u);
  EXPECT_EQ(at_load.shared, 0u);
  EXPECT_EQ(at_load.last_error, 0u);
  EXPECT_EQ(at_load.sso_ready, 0u);
  EXPECT_EQ(at_load.sso_server, 0u);
  EXPECT_EQ(at_load.sso_address, 0u);
  EXPECT_FALSE(at_load.sso_user);
}

TEST_F(Lifecycle, FirstInitialiseBuildsSlotAndServerList) {
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 1u);
  EXPECT_NE(pTls, nullptr);
  ASSERT_NE(g_ServerList, nullptr);
  EXPECT_EQ(g_ServerList->IsValid(), 1);
  EXPECT_EQ(g_ServerListReady, 1u);
}

TEST_F(Lifecycle, SecondInitialiseOnlyCounts) {
  ASSERT_EQ(TAVInitialize(), 1);
  const ATls* slot = pTls;
  const TAVServerList* list = g_ServerList;
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 2u);
  EXPECT_EQ(pTls, slot);
  EXPECT_EQ(g_ServerList, list);
}

TEST_F(Lifecycle, SecondInitialiseMarksEveryServerAsUpAgain) {
  const FakeServer other("other", "127.0.0.2");
  config.write_servers({server.configured(), other.configured()});
  ASSERT_EQ(TAVInitialize(), 1);
  TAVServerInterface* const first = g_ServerList->FindByServer(address());
  TAVServerInterface* const second = g_ServerList->FindByServer(other.address_number());
  first->SetCommDown();
  second->SetCommDown();
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(first->IsCommUp(), 1);
  EXPECT_EQ(second->IsCommUp(), 1);
}

TEST_F(Lifecycle, SecondInitialiseLeavesAListThatIsNotReadyAlone) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVServerInterface* const only = g_ServerList->FindByServer(address());
  only->SetCommDown();
  g_ServerListReady = 0;
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(only->IsCommUp(), 0);
}

TEST_F(Lifecycle, SecondInitialiseDoesNotReadTheConfigurationAgain) {
  ASSERT_EQ(TAVInitialize(), 1);
  config.write_servers({{"127.0.0.9", 9, "new"}});
  EXPECT_EQ(TAVInitialize(), 1);
  unsigned long found = 0;
  EXPECT_EQ(TAVEnumServers(0, &found), 1);
  EXPECT_EQ(found, address());
}

TEST_F(Lifecycle, InitialiseWithACountRaisedBuildsNothingAndStillSucceeds) {
  g_InitCount = 1;
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 2u);
  EXPECT_EQ(pTls, nullptr);
  EXPECT_EQ(g_ServerList, nullptr);
}

TEST_F(Lifecycle, CountsWithoutASign) {
  g_InitCount = -3;  // 4294967293
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 4294967294u);
  EXPECT_EQ(g_ServerList, nullptr);
}

TEST_F(Lifecycle, LibraryStaysUsableUntilTheLastExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  ASSERT_EQ(TAVInitialize(), 1);
  TAVExit();
  EXPECT_EQ(init_count(), 1u);
  answer_next_wait([this](const auto& request) { server.reply_version(request, 0x01020304); });
  unsigned version = 0;
  EXPECT_EQ(TAVQueryVersion(address(), &version), 1);
  EXPECT_EQ(version, 0x01020304u);

  TAVExit();
  EXPECT_EQ(init_count(), 0u);
  EXPECT_EQ(pTls, nullptr);
  EXPECT_EQ(g_ServerList, nullptr);
}

TEST_F(Lifecycle, LastExitClosesTheSockets) {
  ASSERT_EQ(TAVInitialize(), 1);
  const int socket = TAVGetSocket(address());
  TAVExit();
  EXPECT_EQ(fcntl(socket, F_GETFD), -1);
}

TEST_F(Lifecycle, LastExitDestroysTheListWhileTheThreadHasItsRecordAndKeepsItsError) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(42);
  bool slot_existed = false;
  delete std::exchange(g_ServerList, nullptr);
  g_ServerList = new LastWords(slot_existed);
  TAVExit();
  EXPECT_TRUE(slot_existed);
  EXPECT_EQ(g_SharedRecord.lastError, 55u);
  EXPECT_EQ(TAVGetLastError(), 55u);
}

TEST_F(Lifecycle, ReadyFlagIsNeverReset) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVExit();
  EXPECT_EQ(g_ServerListReady, 1u);
  config.write("");
  EXPECT_EQ(TAVInitialize(), 0);
  EXPECT_EQ(g_ServerListReady, 1u);
}

TEST_F(Lifecycle, InitialiseAfterTheLastExitReadsTheConfigurationAnew) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVExit();
  config.write_servers({{"127.0.0.9", 9, "new"}});
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 1u);
  unsigned long found = 0;
  EXPECT_EQ(TAVEnumServers(0, &found), 1);
  EXPECT_EQ(found, inet_addr("127.0.0.9"));
}

TEST_F(Lifecycle, SurplusExitWrapsTheCount) {
  TAVExit();
  EXPECT_EQ(init_count(), 4294967295u);
  EXPECT_EQ(g_ServerList, nullptr);
}

TEST_F(Lifecycle, SetTimeoutSucceedsAndChangesNothing) {
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(untouched);
  EXPECT_EQ(TAVSetTimeout(1), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
  unsigned version = 0;
  EXPECT_TRUE(failed_with(TAV_E_ABANDONED, TAVQueryVersion(address(), &version)));
  EXPECT_EQ(time.timeouts(), std::vector<long long>{300'000'000});
}

TEST_F(Lifecycle, SetTimeoutWorksWithoutInitialisation) {
  EXPECT_EQ(TAVSetTimeout(0), 1);
}
