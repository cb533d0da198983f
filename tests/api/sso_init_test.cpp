// Starting and ending the single-sign-on layer, and where it finds the gateway's server.

#include <arpa/inet.h>

#include <bit>
#include <cstdio>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

class SsoInit : public SsoTest {
 protected:
  // A configuration with the test's server, and these lines in the key of the gateway's server.
  void write_gateway(const std::vector<std::string>& lines) {
    std::vector<std::string> all{"[tavlib\\Addresses\\]"};
    all.insert(all.end(), lines.begin(), lines.end());
    all.push_back("[tavlib\\Addresses\\127.0.0.1\\]");
    all.push_back("Endpoint=" + std::to_string(server.port()));
    config.write_lines(all);
  }

  void expect_registered(unsigned long gateway, int socket) {
    ASSERT_EQ(loop.set.size(), 1u);
    EXPECT_EQ(loop.set[0].socket, socket);
    EXPECT_EQ(loop.set[0].argument, reinterpret_cast<void*>(gateway));
    EXPECT_NE(loop.set[0].ready, nullptr);
  }
};

struct BadGateway {
  const char* name;
  std::vector<std::string> lines;
};

void PrintTo(const BadGateway& badGateway, std::ostream* out) {
  *out << badGateway.name;
}

class BadGatewayValue : public SsoInit, public testing::WithParamInterface<BadGateway> {};

}  // namespace

TEST_F(SsoInit, ReturnsTheProductStringAndRegistersTheGatewaysSocket) {
  EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  EXPECT_EQ(g_SsoReady, 1u);
  EXPECT_EQ(g_SsoServer, address());
  EXPECT_EQ(init_count(), 1u);
  expect_registered(address(), TAVGetSocket(address()));
}

TEST_F(SsoInit, TakesANumberAsTheAddressWithoutConversion) {
  constexpr bool little = std::endian::native == std::endian::little;
  write_gateway({little ? "gwtav=16777343" : "gwtav=2130706433"});
  EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  EXPECT_EQ(g_SsoServer, inet_addr("127.0.0.1"));
  expect_registered(address(), TAVGetSocket(address()));
}

TEST_F(SsoInit, TakesAllNumbersOf32Bits) {
  write_gateway({"gwtav=4294967294"});
  EXPECT_NE(SSO_Init(), nullptr);
  EXPECT_EQ(g_SsoServer, 4294967294ul);
  expect_registered(4294967294ul, -1);
}

// All ones are no address as a text only.
TEST_F(SsoInit, TakesANumberOfAllOnes) {
  write_gateway({"gwtav=4294967295"});
  EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  EXPECT_EQ(g_SsoServer, 4294967295ul);
}

TEST_F(SsoInit, ATextThatIsNoAddressCountsAsAKnownGatewayOfALayerThatIsDown) {
  write_gateway({"gwtav=\"gateway\""});
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(g_SsoServer, 4294967295ul);
  TAVSetLastError(untouched);
  EXPECT_EQ(SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0), 0);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(SsoInit, RegistersNoSocketOfAGatewayThatIsNotConfiguredAsMinus1) {
  write_gateway({"gwtav=\"127.9.9.9\""});
  EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  EXPECT_EQ(g_SsoReady, 1u);
  expect_registered(inet_addr("127.9.9.9"), -1);
  SSO_Exit();
  ASSERT_EQ(loop.removed.size(), 1u);
  EXPECT_EQ(loop.removed[0].socket, -1);
}

TEST_P(BadGatewayValue, FailsWith3AndStaysInitialised) {
  write_gateway(GetParam().lines);
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(SSO_GetLastError(), 3u);
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(init_count(), 1u);
  EXPECT_NE(g_ServerList, nullptr);
  EXPECT_TRUE(loop.set.empty());
}

INSTANTIATE_TEST_SUITE_P(All, BadGatewayValue,
                         testing::Values(BadGateway{"Missing", {}}, BadGateway{"Text", {"gwtav=\"gateway\""}},
                                         BadGateway{"EmptyText", {"gwtav=\"\""}},
                                         BadGateway{"AllOnes", {"gwtav=\"255.255.255.255\""}},
                                         BadGateway{"TooBigNumber", {"gwtav=\"127.0.0.256\""}},
                                         BadGateway{"LongText", {"gwtav=\"" + std::string(3000, '1') + '"'}},
                                         BadGateway{"ListOfTexts", {"gwtav='127.0.0.1'"}},
                                         BadGateway{"Bytes", {"gwtav=$7F000001"}},
                                         BadGateway{"UnacceptableText", {"gwtav=?"}},
                                         BadGateway{"OtherName", {"gwtav2=\"127.0.0.1\""}}),
                         ByName());

TEST_F(SsoInit, FailsWith3WithoutTheKey) {
  ASSERT_EQ(TAVInitialize(), 1);
  const std::string content = "[tavlib\\Other\\]\ngwtav=\"127.0.0.1\"\n";
  config.write(content);
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(SSO_GetLastError(), 3u);
  EXPECT_EQ(init_count(), 2u);
  EXPECT_EQ(config.content(), content);  // it is looked for, not made
}

TEST_F(SsoInit, FailsWith3WithoutTheFile) {
  ASSERT_EQ(TAVInitialize(), 1);
  ASSERT_EQ(std::remove(config.path().c_str()), 0);
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(SSO_GetLastError(), 3u);
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(init_count(), 2u);
}

TEST_F(SsoInit, FailsWithTheReasonOfAFailedInitialisation) {
  config.write("");
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(SSO_GetLastError(), 3u);
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(init_count(), 0u);
  EXPECT_TRUE(loop.set.empty());
}

// What the configuration store reports goes to the run-time error.
TEST_F(SsoInit, AnUnacceptableLineInTheConfigurationLeavesTheLastErrorAlone) {
  write_gateway({"other=?", "gwtav=\"127.0.0.1\""});
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(untouched);
  EXPECT_NE(SSO_Init(), nullptr);
  EXPECT_EQ(TAVGetLastError(), untouched);
}

TEST_F(SsoInit, TakesTheLayerDownFirst) {
  ASSERT_NE(SSO_Init(), nullptr);
  write_gateway({});
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(g_SsoServer, address());
  EXPECT_EQ(init_count(), 2u);
}

TEST_F(SsoInit, ReadsTheGatewayAgainEachTime) {
  ASSERT_NE(SSO_Init(), nullptr);
  write_gateway({"gwtav=\"127.9.9.9\""});
  ASSERT_NE(SSO_Init(), nullptr);
  EXPECT_EQ(g_SsoServer, inet_addr("127.9.9.9"));
  ASSERT_EQ(loop.set.size(), 2u);
  EXPECT_EQ(loop.set[1].socket, -1);
}

// As after an initialisation for which there was no memory: TAVGetSocket gives 0 then.
TEST_F(SsoInit, WithALibraryThatIsOnlyCountedSucceedsAndRegisters0) {
  g_InitCount = 1;
  EXPECT_NE(SSO_Init(), nullptr);
  ASSERT_EQ(loop.set.size(), 1u);
  EXPECT_EQ(loop.set[0].socket, 0);
  EXPECT_EQ(loop.run(5), 5);
  EXPECT_TRUE(failed_with(7, SSO_GetUserByAddr(1, nullptr, 0, nullptr, 0)));
  SSO_Exit();
  ASSERT_EQ(loop.removed.size(), 1u);
  EXPECT_EQ(loop.removed[0].socket, 0);
  EXPECT_EQ(init_count(), 1u);
}

TEST_F(SsoInit, LastErrorIsThatOfTheThread) {
  TAVSetLastError(42);
  EXPECT_EQ(SSO_GetLastError(), 42u);
}

TEST_F(SsoInit, ExitUnregistersTheSocketAndThenExits) {
  ASSERT_NE(SSO_Init(), nullptr);
  const int socket = TAVGetSocket(address());
  SSO_Exit();
  ASSERT_EQ(loop.removed.size(), 1u);
  EXPECT_EQ(loop.removed[0].socket, socket);
  EXPECT_TRUE(loop.removed[0].library_was_up);
  EXPECT_EQ(g_SsoReady, 0u);
  EXPECT_EQ(init_count(), 0u);
  EXPECT_EQ(g_ServerList, nullptr);
}

TEST_F(SsoInit, ExitLeavesTheHostsOwnInitialisation) {
  ASSERT_EQ(TAVInitialize(), 1);
  ASSERT_NE(SSO_Init(), nullptr);
  SSO_Exit();
  EXPECT_EQ(init_count(), 1u);
  EXPECT_GE(TAVGetSocket(address()), 0);
}

TEST_F(SsoInit, ExitWithoutAnInitDoesNothing) {
  ASSERT_EQ(TAVInitialize(), 1);
  SSO_Exit();
  EXPECT_EQ(init_count(), 1u);
  EXPECT_TRUE(loop.removed.empty());
}

// The flag is the earlier start's until the failed one clears it.
TEST_F(SsoInit, ExitAfterAnInitThatFailedDoesNothing) {
  ASSERT_NE(SSO_Init(), nullptr);
  write_gateway({});
  ASSERT_EQ(SSO_Init(), nullptr);
  SSO_Exit();
  EXPECT_EQ(init_count(), 2u);
  EXPECT_TRUE(loop.removed.empty());
}

TEST_F(SsoInit, ASecondExitDoesNothing) {
  ASSERT_EQ(TAVInitialize(), 1);
  ASSERT_NE(SSO_Init(), nullptr);
  SSO_Exit();
  SSO_Exit();
  EXPECT_EQ(init_count(), 1u);
  EXPECT_EQ(loop.removed.size(), 1u);
}

TEST_F(SsoInit, ExitAfterTheHostExitedTooOftenUnregistersWhatItCan) {
  ASSERT_NE(SSO_Init(), nullptr);
  TAVExit();
  SSO_Exit();
  ASSERT_EQ(loop.removed.size(), 1u);
  EXPECT_FALSE(loop.removed[0].library_was_up);
  EXPECT_EQ(g_SsoReady, 0u);
}
