#ifndef TAVLIB_TESTS_CONFORMANCE_SCRIPTED_TIME_H
#define TAVLIB_TESTS_CONFORMANCE_SCRIPTED_TIME_H

#include <vector>

#include "support/fake_time.h"

namespace tavtest {

/// Time in which nothing but answers takes time: the first `answers` waits are for datagrams that are sure to
/// arrive, and every later one times out at once.
class ScriptedTime {
 public:
  explicit ScriptedTime(unsigned answers);

  /// The waits so far, in seconds.
  std::vector<long long> waits() const;
  FakeTime& clock() { return time_; }

 private:
  FakeTime time_;
};

/// The same for several servers: waits for those of `silent` time out at once.
class TimeWithSilentServers {
 public:
  explicit TimeWithSilentServers(std::vector<unsigned long> silent);
  FakeTime& clock() { return time_; }

 private:
  FakeTime time_;
};

}  // namespace tavtest

#endif
