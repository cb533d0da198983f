#ifndef TAVLIB_TESTS_API_API_FIXTURE_H
#define TAVLIB_TESTS_API_API_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/process_state.h"
#include "api/sso_state.h"
#include "support/config_file.h"
#include "support/fake_server.h"
#include "support/fake_time.h"
#include "support/wire_packet.h"

namespace tavtest {

/// How many requests the library's servers hold in their tables, in flight or kept for their owners.
inline std::size_t requests_held() {
  struct Tables : TAVServerInterface {
    static std::size_t held(TAVServerInterface& server) {
      return (server.*(&Tables::requests)).size() + (server.*(&Tables::settled)).size();
    }
  };
  std::size_t count = 0;
  unsigned long address = 0;
  for (unsigned i = 0; (address = g_ServerList->GetServer(i)) != 0; ++i)
    count += Tables::held(*g_ServerList->FindByServer(address));
  return count;
}

/// A last error that no function sets: what stays when a call leaves the last error alone.
constexpr unsigned untouched = 9999;

/// The process-wide state as it is when the library is loaded, whatever a test before left behind.
inline void restore_load_state() {
  if (g_ServerList != nullptr || pTls != nullptr) {
    g_InitCount = 1;
    TAVExit();
  }
  g_InitCount = 0;
  g_ServerListReady = 0;
  g_SharedRecord = {};
  g_SsoReady = 0;
  g_SsoServer = 0;
  g_SsoEntry = {};
}

/// The low 32 bits of the count of initialisations.
inline std::uint32_t init_count() {
  return static_cast<std::uint32_t>(g_InitCount);
}

/// One scripted server, configured also as the gateway's, and time that costs nothing. The library is not
/// initialised.
class ApiTest : public testing::Test {
 protected:
  ApiTest() { restore_load_state(); }
  ~ApiTest() override { restore_load_state(); }

  unsigned long address() const { return server.address_number(); }

  /// Lets the server answer the next wait's request with `reply`.
  void answer_next_wait(std::function<void(const FakeServer::Request&)> reply) {
    time.script({[this, reply = std::move(reply)] { reply(server.receive()); }});
  }

  FakeServer server{"open sesame"};
  TestConfig config{{server.configured()}, server.address()};
  FakeTime time;
};

/// The same with the library initialised.
class InitialisedTest : public ApiTest {
 protected:
  InitialisedTest() {
    EXPECT_EQ(TAVInitialize(), 1);
    TAVSetLastError(untouched);
  }
};

/// A packet as it arrived, with its digest cleared, to be compared with one laid out by hand.
inline Bytes undigested(Bytes packet) {
  std::fill_n(packet.begin() + digest_offset, 16, std::uint8_t{0});
  return packet;
}

/// Whether the call failed with `code`.
inline testing::AssertionResult failed_with(unsigned code, int result) {
  if (result != 0) return testing::AssertionFailure() << "result " << result;
  const unsigned lastError = TAVGetLastError();
  if (lastError != code) return testing::AssertionFailure() << "last error " << lastError;
  return testing::AssertionSuccess();
}

/// Names each test of a suite by the `name` of its parameter.
struct ByName {
  template <typename Parameter>
  std::string operator()(const testing::TestParamInfo<Parameter>& test) const {
    return test.param.name;
  }
};

}  // namespace tavtest

#endif
