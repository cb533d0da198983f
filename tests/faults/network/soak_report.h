#ifndef TAVLIB_TESTS_FAULTS_NETWORK_SOAK_REPORT_H
#define TAVLIB_TESTS_FAULTS_NETWORK_SOAK_REPORT_H

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "faults/network/verdict.h"

namespace tavtest {

/// The ends of a soak's look-ups, counted, and a line on standard output at the start, after the warm-up (a
/// twentieth) and at each tenth: look-ups, time, resident size.
class SoakReport {
 public:
  explicit SoakReport(std::uint64_t goal);

  /// Counts one end. `detail` describes a wrong one, of which the first few are printed.
  void count(Verdict verdict, const std::string& detail = "");

  /// Ends so far.
  std::uint64_t ended() const { return ended_; }

  /// Prints the counts. True when no answer was wrong, most look-ups were answered, and the resident size
  /// grew by at most `limit` KiB after the warm-up.
  bool conclude(long limit) const;

 private:
  using Clock = std::chrono::system_clock;  // the monotonic one is the soak's own

  std::uint64_t count_of(Verdict verdict) const { return counts_.at(static_cast<std::size_t>(verdict)); }
  void row(const char* name);
  double seconds() const;
  bool print_growth(long limit) const;

  std::uint64_t goal_;
  std::uint64_t ended_ = 0;
  std::uint64_t warm_up_;
  std::uint64_t next_tenth_;
  unsigned tenths_ = 0;
  long rss_start_ = 0;
  long rss_now_ = 0;
  std::optional<long> rss_warm_;
  std::array<std::uint64_t, verdict_kinds> counts_{};
  Clock::time_point started_ = Clock::now();
};

}  // namespace tavtest

#endif
