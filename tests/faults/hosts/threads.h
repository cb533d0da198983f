#ifndef TAVLIB_TESTS_FAULTS_HOSTS_THREADS_H
#define TAVLIB_TESTS_FAULTS_HOSTS_THREADS_H

#include <thread>
#include <vector>

namespace tavtest {

/// The number of threads that a host has here.
constexpr unsigned threads = 4;

/// Does `work` in all of them at once; each is told its number, from 0 on.
template <typename Work>
void in_threads(Work work) {
  std::vector<std::thread> running;
  for (unsigned number = 0; number < threads; ++number)
    running.emplace_back(work, number);
  for (std::thread& each : running)
    each.join();
}

}  // namespace tavtest

#endif
