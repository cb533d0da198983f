#ifndef TAVLIB_TESTS_FAULTS_NETWORK_SIMULATED_SERVER_H
#define TAVLIB_TESTS_FAULTS_NETWORK_SIMULATED_SERVER_H

#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

#include "support/config_file.h"
#include "support/fake_time.h"
#include "tavsim/handler.h"
#include "tavsim/posix.h"

namespace tavtest {

/// What happens to a server's replies.
struct Faults {
  std::vector<std::string> rules = {};  ///< As the options of tavsim: "loss=every:3".
  tavsim::FaultSettings settings = {};
  std::uint64_t seed = 1;

  tavsim::FaultSource source() const;
};

/// tavsim in the test's own process and on the test's clock, step by step: nothing waits for real, and the
/// same calls give the same datagrams.
class SimulatedServer {
 public:
  SimulatedServer(const std::string& entries_file, const Faults& faults, FakeTime& time);

  ConfiguredServer configured() const;
  unsigned long address() const;

  /// Answers each request that has arrived. Sends at most `limit` of the replies that are due, and returns
  /// how many that were.
  std::size_t serve(std::size_t limit);

  /// Lets time pass until a reply is due, but no longer than `bound`, and serves. False when none becomes
  /// due.
  bool pass_to_next(std::chrono::microseconds bound, std::size_t limit);

  std::uint64_t requests() const { return handler_.requests(); }

 private:
  void receive_all();

  FakeTime& time_;
  tavsim::UdpSocket socket_;
  std::ostringstream nowhere_;
  tavsim::Trace no_trace_{nowhere_, false, false};
  tavsim::Handler handler_;
  tavsim::Outbox outbox_;
};

}  // namespace tavtest

#endif
