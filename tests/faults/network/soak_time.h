#ifndef TAVLIB_TESTS_FAULTS_NETWORK_SOAK_TIME_H
#define TAVLIB_TESTS_FAULTS_NETWORK_SOAK_TIME_H

#include <chrono>

/// Time as the soak's library sees it, so that nothing lost costs 300 seconds: the monotonic clock moves only
/// when it is told to, and a `select` with a time-out gives up after `longest_wait` of real time.
namespace tavtest {

constexpr std::chrono::milliseconds longest_wait{10};

/// The monotonic clock.
std::chrono::milliseconds uptime();

/// Moves it on.
void pass(std::chrono::milliseconds time);

}  // namespace tavtest

#endif
