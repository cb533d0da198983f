// The replacements of libc calls reach a shared library's calls too.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <filesystem>

#include "support/config_file.h"
#include "support/fake_server.h"
#include "support/fake_time.h"

namespace tavtest {
namespace {

TEST(SharedLibrary, ReadsTheFakeClock) {
  const FakeTime time(7, 8000);
  EXPECT_EQ(GetTickCount(), 7008U);
}

TEST(SharedLibrary, WaitsInFakeTimeForAServerThatIsConfigured) {
  FakeServer server("secret");
  const TestConfig config({server.configured()});
  FakeTime time;
  ASSERT_EQ(TAVInitialize(), 1);
  time.on_wait([&](int, timeval) { server.reply_version(server.receive(), 0x00020001); });
  unsigned version = 0;
  EXPECT_EQ(TAVQueryVersion(server.address_number(), &version), 1);
  EXPECT_EQ(version, 0x00020001U);
  EXPECT_EQ(time.waits().size(), 1U);
  TAVExit();
}

}  // namespace
}  // namespace tavtest
