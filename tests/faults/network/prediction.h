#ifndef TAVLIB_TESTS_FAULTS_NETWORK_PREDICTION_H
#define TAVLIB_TESTS_FAULTS_NETWORK_PREDICTION_H

#include <vector>

#include "faults/network/simulated_server.h"
#include "faults/network/verdict.h"

namespace tavtest {

/// How the look-ups of one server end, told from the faults that strike their requests alone: the first
/// request gets the first set of faults, and so on. Says nothing of corrupt and flood, whose effect is up to
/// chance.
class Prediction {
 public:
  explicit Prediction(const Faults& faults) : source_(faults.source()) {}

  /// The next look-up's end: `undisturbed` when nothing strikes. One that waits for its answer does not see a
  /// reply that is held back until another one is sent.
  void add(Verdict undisturbed, bool waits);

  /// The ends of all look-ups.
  const std::vector<Verdict>& ends();

 private:
  void reorder(const tavsim::FaultSet& faults, bool waits);

  tavsim::FaultSource source_;
  std::vector<Verdict> ends_;
  bool holding_ = false;
  bool held_waits_ = false;
  std::size_t held_ = 0;
};

}  // namespace tavtest

#endif
