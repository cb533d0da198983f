#ifndef TAVLIB_TESTS_FAULTS_NETWORK_HOSTILE_NETWORK_H
#define TAVLIB_TESTS_FAULTS_NETWORK_HOSTILE_NETWORK_H

#include <vector>

#include "faults/network/lookups.h"
#include "faults/network/simulated_server.h"
#include "faults/network/users.h"

namespace tavtest {

/// One look-up to make.
struct Step {
  Kind kind;
  bool waits;      ///< Else it is asynchronous.
  unsigned index;  ///< Of the address.
};

/// A host with the single-sign-on layer up, its server, and the faults between them.
class HostileNetwork {
 public:
  explicit HostileNetwork(const Faults& faults = {});
  ~HostileNetwork();

  HostileNetwork(const HostileNetwork&) = delete;
  HostileNetwork& operator=(const HostileNetwork&) = delete;

  const Users& users() const { return users_; }
  unsigned long address() const { return server_.address(); }
  FakeTime& time() { return time_; }

  /// Makes the look-ups in order, up to `together` asynchronous ones at once, and returns their ends. What is
  /// due is read after each group. When all are started, time passes until the last reply was sent, but no
  /// longer than `patience`; then what is still pending is expired or given up.
  std::vector<Verdict> run(const std::vector<Step>& steps,
                           std::chrono::seconds patience = std::chrono::hours(24));

  /// Sends and reads all that is due now.
  void pump();

  /// Lets time pass until every reply was sent and read.
  void pump_all() { pump_within(std::chrono::hours(1000)); }

 private:
  void wait(int socket, timeval timeout);
  void pump_within(std::chrono::seconds patience);
  void give_up(std::vector<AsyncLookup>& lookups);

  Users users_{96};
  FakeTime time_;
  SimulatedServer server_;
  TestConfig config_;
};

/// `count` look-ups of one kind over all addresses.
std::vector<Step> steps_of(Kind kind, bool waits, unsigned count);

/// How many of `ends` are `verdict`.
long count_of(const std::vector<Verdict>& ends, Verdict verdict);

}  // namespace tavtest

#endif
