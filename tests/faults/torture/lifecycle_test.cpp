// Initialising with three servers, and exiting, while the calls to the system fail.

#include <gtest/gtest.h>

#include "faults/torture/three_servers.h"

namespace tavtest {
namespace {

class Lifecycle : public testing::Test, public Scenario {
 protected:
  void run(Steps& steps) override {
    initialise(steps, servers);
    exit_library(steps);
  }

  ThreeServers servers;
};

}  // namespace

TEST_F(Lifecycle, SurvivesEachFault) {
  expect_tally(fail_each_call(*this), 200,
               {"new", "new nothrow", "malloc", "socket", "open", "pread", "lock", "pthread_key_create"});
}

TEST_F(Lifecycle, SurvivesPairsOfFaults) {
  expect_tally(fail_pairs(*this, 250), 300, {"new", "malloc", "open", "pread"});
}

}  // namespace tavtest
