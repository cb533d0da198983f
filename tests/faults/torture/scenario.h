#ifndef TAVLIB_TESTS_FAULTS_TORTURE_SCENARIO_H
#define TAVLIB_TESTS_FAULTS_TORTURE_SCENARIO_H

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/call_faults.h"
#include "support/spoiled_errno.h"

namespace tavtest {

/// How a step ends, as a short text: "1", "0/9" (a code after the result 0), "bad_alloc".
using Outcome = std::string;
using Outcomes = std::vector<Outcome>;

/// The outcomes that a step may have after the faults that struck in it.
using Hits = std::vector<CallFaults::Hit>;
using Rule = std::function<Outcomes(const Hits&)>;

/// Whether the fault is of a file's call that the library makes again, or completes, by itself.
bool is_overcome(const CallFaults::Hit& hit);

/// The rule of a step that ends in the `regular` way without faults, and with several in the way of one of
/// them or in the regular one.
Rule by_fault(Outcome regular, std::function<Outcomes(const CallFaults::Hit&)> after);

/// Whether the fault keeps the library from telling whether the file that it has locked is still the one that
/// the path names. The other stat looks for a file that is to be made when it is missing.
bool is_of_comparison(const CallFaults::Hit& hit);

/// The rule of a step that no fault changes.
Rule always(Outcome outcome);

/// The result of a call of the library, whose own calls count. It is made in a host whose heap changes errno,
/// where the reason of a failure must still be the system's.
template <typename Call>
auto library(Call call) {
  const LibrarySection section;
  const SpoiledErrno heap;
  return call();
}

/// What a scenario does, step by step, with the library's calls counted in each. A step must end in one of
/// the ways that its rule allows. After a fault in an earlier step it may also end as if it had none of its
/// own: an answer that came too late for that one may be what this one's fault concerns.
class Steps {
 public:
  explicit Steps(CallFaults& faults) : faults_(faults) {}

  /// Makes the step and judges it. `act` calls the library and tells how that ended; a bad_alloc that it lets
  /// out is an outcome of its own.
  Outcome take(const std::string& name, const Rule& rule, const std::function<Outcome()>& act);

  /// The faults of the last step.
  const Hits& hits() const { return faults_.hits(); }

 private:
  CallFaults& faults_;
};

/// A whole use of the library, from a state in which it is not initialised to the same state again.
class Scenario {
 public:
  virtual ~Scenario() = default;
  virtual void run(Steps& steps) = 0;
};

/// The faults that struck, by the name of the call.
using Tally = std::map<std::string, std::size_t>;

/// Fails call number 1, then 2 and so on, each in every way, until the scenario needs no more calls. After
/// each, nothing may be left of it, and the scenario runs at once without faults.
Tally fail_each_call(Scenario& scenario);

/// Fails two calls at random, `pairs` times. The environment's TAVLIB_TORTURE_SEED and TAVLIB_TORTURE_PAIRS
/// win over the seed and the number that the tests have.
Tally fail_pairs(Scenario& scenario, unsigned pairs);

/// Prints and records the tally, and expects at least `floor` faults and one of each of `kinds`.
void expect_tally(const Tally& tally, std::size_t floor, const std::vector<std::string>& kinds);

}  // namespace tavtest

#endif
