// The first initialisation in a process, which also makes what the library keeps for the life of it. Each
// fault strikes in a process of its own.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <tavlib/tavlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "faults/torture/descriptors.h"
#include "faults/torture/three_servers.h"

namespace tavtest {
namespace {

// The key of the machine-wide store.
constexpr std::size_t blocks_for_life = 1;

class FirstUse : public testing::Test {
 protected:
  // The fault, in a new process: what was called, and in how many ways that can fail. Nothing when there are
  // fewer calls.
  struct Struck {
    std::string call;
    std::size_t ways = 0;
  };
  Struck in_new_process(CallFaults::Fault fault) {
    int pipe_ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(pipe_ends, O_CLOEXEC), 0);
    std::fflush(stdout);  // or the child would write it once more
    const pid_t child = fork();
    if (child == 0) {
      const Struck struck = survive(fault);
      const std::string told = std::to_string(struck.ways) + " " + struck.call;
      const bool written = write(pipe_ends[1], told.data(), told.size()) == static_cast<ssize_t>(told.size());
      std::fflush(stdout);
      _exit(written && !HasFailure() ? 0 : 1);
    }
    close(pipe_ends[1]);
    char text[64] = "";
    EXPECT_GT(read(pipe_ends[0], text, sizeof text - 1), 0);
    close(pipe_ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << fault.number << ", " << fault.way;
    const std::string told = text;
    const std::size_t space = told.find(' ');
    return {told.substr(space + 1), static_cast<std::size_t>(std::stoul(told))};
  }

 private:
  Struck survive(CallFaults::Fault fault) {
    const Descriptors descriptors;
    const Hits hits = run({fault});
    if (hits.empty()) return {};
    SCOPED_TRACE(hits[0].call + " " + hits[0].way);
    EXPECT_LE(living_blocks(), blocks_for_life);
    if (hides_the_home(hits[0])) {
      expect_store_at_the_top();
    } else {
      run({});
      EXPECT_EQ(living_blocks(), blocks_for_life);
      run({});
    }
    EXPECT_EQ(living_blocks(), blocks_for_life);
    const bool made = hits[0].call == "stat" || hides_the_home(hits[0]);
    EXPECT_LE(close_left_open(), made ? 1u : 0u);
    EXPECT_EQ(descriptors.opened_since(), "");
    return {hits[0].call, hits[0].ways};
  }

  Hits run(std::vector<CallFaults::Fault> plan) {
    CallFaults faults(std::move(plan));
    Steps steps(faults);
    initialise(steps, servers);
    exit_library(steps);
    return faults.all_hits();
  }

  // A user without a home directory has the store at the top of the file system, for the life of the process.
  void expect_store_at_the_top() {
    EXPECT_EQ(library(TAVInitialize), 1);
    EXPECT_EQ(servers_known(servers), "++-");
    library(TAVExit);
  }

  ThreeServers servers;
};

}  // namespace

TEST_F(FirstUse, SurvivesEachFault) {
  Tally tally;
  for (std::size_t number = 1; !HasFailure(); ++number) {
    Struck struck{"", 1};
    for (std::size_t way = 0; way < struck.ways; ++way) {
      struck = in_new_process({number, way});
      if (struck.ways != 0) ++tally[struck.call];
    }
    if (struck.ways == 0) break;
  }
  expect_tally(
      tally, 200,
      {"new", "malloc", "getpwuid_r", "open", "pread", "pthread_key_create", "pthread_mutex_init", "stat"});
}

}  // namespace tavtest
