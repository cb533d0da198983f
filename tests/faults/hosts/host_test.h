#ifndef TAVLIB_TESTS_FAULTS_HOSTS_HOST_TEST_H
#define TAVLIB_TESTS_FAULTS_HOSTS_HOST_TEST_H

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <array>

#include "conformance/host.h"
#include "faults/hosts/answering_server.h"
#include "support/config_file.h"
#include "support/fake_time.h"

namespace tavtest {

/// Whether the library is initialised.
inline bool library_is_up() {
  unsigned long server = 0;
  return TAVEnumServers(0, &server) == 1;
}

/// A look-up in flight, and what its callback was told: -1 until then.
struct Lookup {
  std::array<char, 32> user{};
  std::array<char, 32> tree{};
  int told = -1;

  void start(unsigned long where) {
    SSO_GetUserByAddrAsync(where, user.data(), 31, tree.data(), 31, ended, this);
  }
  static void ended(int success, void* cookie) { static_cast<Lookup*>(cookie)->told = success; }
};

/// A host with one server, which is also the gateway's and answers in each wait. The library is not
/// initialised, and exited at the end.
class HostTest : public testing::Test {
 protected:
  static constexpr unsigned long somewhere = 0x0a000001;

  HostTest() {
    time.on_wait([this](int, timeval) { server.answer_all(); });
  }
  ~HostTest() override {
    SSO_Exit();
    while (library_is_up())
      TAVExit();
  }

  unsigned long address() const { return server.address_number(); }

  unsigned version_of(unsigned long asked) const {
    unsigned version = 0;
    EXPECT_EQ(TAVQueryVersion(asked, &version), 1) << "last error " << TAVGetLastError();
    return version;
  }

  AnsweringServer server;
  TestConfig config{{server.configured()}, server.address()};
  FakeTime time;
};

}  // namespace tavtest

#endif
