// Initialisation without a usable server list: nothing stays behind but the reason.

#include <cstdio>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

struct Unusable {
  const char* name;
  const char* content;
};

void PrintTo(const Unusable& unusable, std::ostream* out) {
  *out << unusable.name;
}

class UnusableConfiguration : public ApiTest, public testing::WithParamInterface<Unusable> {
 protected:
  UnusableConfiguration() { config.write(GetParam().content); }
};

class FailedInitialisation : public ApiTest {};

}  // namespace

TEST_P(UnusableConfiguration, FailsWithTheReasonReadableAfterwards) {
  EXPECT_EQ(TAVInitialize(), 0);
  EXPECT_EQ(TAVGetLastError(), 3u);
}

TEST_P(UnusableConfiguration, LeavesTheStateAsItWas) {
  EXPECT_EQ(TAVInitialize(), 0);
  EXPECT_EQ(init_count(), 0u);
  EXPECT_EQ(pTls, nullptr);
  EXPECT_EQ(g_ServerList, nullptr);
  EXPECT_EQ(g_ServerListReady, 0u);
  EXPECT_EQ(g_SharedRecord.lastError, 3u);
}

TEST_P(UnusableConfiguration, CanBeFollowedByASuccessfulInitialisation) {
  EXPECT_EQ(TAVInitialize(), 0);
  config.write_servers({server.configured()});
  EXPECT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(init_count(), 1u);
  EXPECT_NE(g_ServerList, nullptr);
}

INSTANTIATE_TEST_SUITE_P(All, UnusableConfiguration,
                         testing::Values(Unusable{"EmptyFile", ""},
                                         Unusable{"OtherKey", "[tavlib\\Other\\127.0.0.1\\]\nEndpoint=9\n"},
                                         Unusable{"NoServer", "[tavlib\\Addresses\\]\n"},
                                         Unusable{"NoPort", "[tavlib\\Addresses\\127.0.0.1\\]\n"}),
                         ByName());

TEST_F(FailedInitialisation, WithoutAConfigurationFileFailsWith3) {
  ASSERT_EQ(std::remove(config.path().c_str()), 0);
  EXPECT_TRUE(failed_with(TAV_E_CONFIG, TAVInitialize()));
  EXPECT_EQ(init_count(), 0u);
}

TEST_F(FailedInitialisation, EveryQueryThenFailsWith7) {
  config.write("");
  ASSERT_EQ(TAVInitialize(), 0);
  unsigned version = 0;
  EXPECT_TRUE(failed_with(TAV_E_NOTINITIALISED, TAVQueryVersion(address(), &version)));
}

TEST_F(FailedInitialisation, CanFailAgainAndAgain) {
  config.write("");
  for (int i = 0; i < 3; ++i) {
    TAVSetLastError(untouched);
    EXPECT_TRUE(failed_with(TAV_E_CONFIG, TAVInitialize()));
    EXPECT_EQ(init_count(), 0u);
  }
}
