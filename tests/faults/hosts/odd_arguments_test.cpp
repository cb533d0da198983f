// Calls that a careless host makes: too many exits, servers that nobody knows, entries and buffers of
// unreasonable size.

#include <vector>

#include "faults/hosts/child_process.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

// In a process of its own, since a count that has wrapped stays so.
class ExitedTooOften : public HostTest {
 protected:
  bool answers() const {
    unsigned version = 0;
    return TAVQueryVersion(address(), &version) == 1 && version == 0x00010002;
  }
};

}  // namespace

TEST_F(ExitedTooOften, FailsWith7) {
  EXPECT_EQ(failed_part([]() -> std::vector<bool> {
              TAVExit();
              unsigned version = 0;
              _TAVENTRYA entry{};
              return {!library_is_up(), error_of(TAVQueryVersion(1, &version)) == 7,
                      error_of(TAVAddEntryA(&entry)) == 7};
            }),
            0);
}

TEST_F(ExitedTooOften, OnceTheNextInitialisationWorksAndItsExitDoesNotCount) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              TAVExit();
              const bool up = TAVInitialize() == 1 && answers();
              TAVExit();
              return {up, library_is_up(), answers()};
            }),
            0);
}

// The count is below zero then, and an initialisation that does not reach zero builds nothing.
TEST_F(ExitedTooOften, TwiceTheNextInitialisationSucceedsWithoutALibraryAndTheOneAfterItWorks) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              TAVExit();
              TAVExit();
              const bool first = TAVInitialize() == 1 && !library_is_up() && TAVGetLastError() == 7;
              return {first, TAVInitialize() == 1, answers()};
            }),
            0);
}

// Each further initialisation builds the library anew; nobody is left with what it replaced.
TEST_F(ExitedTooOften, HandlesOfALibraryThatWasBuiltOverAreToldWith7) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              TAVExit();
              TAVInitialize();
              unsigned version = 0;
              TAVASYNC async{};
              const bool sent = error_of(TAVQueryVersionAs(address(), &version, &async)) == 14;
              TAVExit();
              const bool again = TAVInitialize() == 1;
              return {sent, again, TAVASyncSocket(&async) == -1, error_of(TAVASyncStatus(&async, 1)) == 7,
                      answers()};
            }),
            0);
}

TEST_F(ExitedTooOften, BehindSingleSignOnsBackTheNextInitWorks) {
  EXPECT_EQ(failed_part([]() -> std::vector<bool> {
              const bool first = SSO_Init() != nullptr;
              TAVExit();
              SSO_Exit();
              SSO_Exit();
              char user[32] = "";
              const bool second = SSO_Init() != nullptr;
              return {first, second, SSO_GetUserByAddr(somewhere, user, 31, nullptr, 0) == 1,
                      user == user_at(somewhere)};
            }),
            0);
}

namespace {

class OddArguments : public HostTest {
 protected:
  OddArguments() { EXPECT_NE(SSO_Init(), nullptr); }
};

class UnknownServer : public OddArguments, public testing::WithParamInterface<unsigned long> {};

}  // namespace

TEST_P(UnknownServer, FailsWith11AndLeavesOutputsAndHandlesAlone) {
  const unsigned long unknown = GetParam();
  unsigned version = 5;
  TAVASYNC async{};
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(error_of(TAVQueryVersion(unknown, &version)), 11U);
  EXPECT_EQ(error_of(TAVQueryVersionAs(unknown, &version, &async)), 11U);
  EXPECT_EQ(error_of(TAVASyncPop(&popped, unknown)), 11U);
  EXPECT_EQ(TAVGetSocket(unknown), -1);
  _TAVENTRYW entry{};
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartW(&entry, 0, 0, unknown, 0, &query), 1);
  entry.address = 6;
  EXPECT_EQ(error_of(TAVQueryNextW(query, &entry)), 11U);
  EXPECT_EQ(error_of(TAVQueryNextAsW(query, &entry, &async)), 11U);
  TAVQueryClose(query);
  EXPECT_EQ(version, 5U);
  EXPECT_EQ(entry.address, 6U);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(popped, nullptr);
  EXPECT_TRUE(server.is_idle());
}

// 0, the broadcast address, the server's address in the wrong byte order, and with bits beyond an
// address's 32.
// With the number of 127.0.0.1 for a machine of the other byte order. The last one has 127.0.0.1 in its low
// half, where there is another.
INSTANTIATE_TEST_SUITE_P(Addresses, UnknownServer,
                         testing::Values(0UL, 0xffffffffUL, __builtin_bswap32(htonl(INADDR_LOOPBACK)), ~0UL,
                                         sizeof(unsigned long) > 4
                                             ? static_cast<unsigned long>(0x100000000ULL +
                                                                          htonl(INADDR_LOOPBACK))
                                             : 1UL));

TEST_F(OddArguments, AnEntryOfAMegabyteIsRefusedWith11AndNothingIsSent) {
  std::string text(1 << 20, 'x');
  _TAVENTRYA big{};
  big.user = text.data();
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartA(&big, 0, 0, address(), 0, &query), 1);
  _TAVENTRYA entry{};
  EXPECT_EQ(error_of(TAVQueryNextA(query, &entry)), 11U);
  TAVQueryClose(query);
  EXPECT_EQ(TAVAddEntryA(&big), 0);
  EXPECT_TRUE(server.is_idle());
}

TEST_F(OddArguments, AnEntryThatDoesNotFitCountsAsAFailureOfEveryServer) {
  std::string text(1 << 20, 'x');
  _TAVENTRYA big{};
  big.user = text.data();
  const _TAVENTRYA small{};
  EXPECT_EQ(TAVAddEntryA(&big), 0);
  EXPECT_EQ(TAVAddEntryA(&small), 0) << "no server is believed reachable";
  EXPECT_EQ(server.entries_taken(), 0);
  EXPECT_EQ(version_of(address()), 0x00010002U) << "queries still go to it";
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(TAVAddEntryA(&small), 2);
}

TEST_F(OddArguments, ABlockWithoutBytesCountsAsNoneWhateverItsLength) {
  _TAVENTRYA entry{};
  entry.dataLength = 0xffffffff;
  EXPECT_EQ(TAVAddEntryA(&entry), 2);
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartA(&entry, 0, 0, address(), 0, &query), 1);
  EXPECT_EQ(TAVQueryNextA(query, &entry), 1);
  EXPECT_STREQ(entry.user, "USER 1");
  TAVQueryClose(query);
}

TEST_F(OddArguments, ABufferOfAMegabyteIsFilledUpWithZeros) {
  std::vector<char> user(1 << 20, '#');
  ASSERT_EQ(SSO_GetUserByAddr(somewhere, user.data(), 1 << 20, nullptr, 0), 1);
  EXPECT_EQ(user.data(), user_at(somewhere));
  EXPECT_EQ(std::count(user.begin(), user.end(), '\0'),
            (1 << 20) - static_cast<long>(user_at(somewhere).size()));
}

TEST_F(OddArguments, NoKeyFileIsClosedAsWell) {
  EXPECT_EQ(ARegKeyFileClose(nullptr), 1);
  TAVQueryClose(nullptr);
}

// Each SSO_Init counts, and SSO_Exit undoes one.
TEST_F(OddArguments, ASecondInitOfSingleSignOnStaysCountedAfterTheExit) {
  ASSERT_NE(SSO_Init(), nullptr);
  SSO_Exit();
  SSO_Exit();
  EXPECT_TRUE(library_is_up());
  EXPECT_EQ(SSO_GetUserByAddr(somewhere, nullptr, 0, nullptr, 0), 0);
  TAVExit();
  EXPECT_FALSE(library_is_up());
}
