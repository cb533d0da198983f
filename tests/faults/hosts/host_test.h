#ifndef TAVLIB_TESTS_FAULTS_HOSTS_HOST_TEST_H
#define TAVLIB_TESTS_FAULTS_HOSTS_HOST_TEST_H

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

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
