#ifndef TAVLIB_TESTS_FAULTS_STORE_PROCESS_H
#define TAVLIB_TESTS_FAULTS_STORE_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <ostream>

namespace tavtest {

/// How a process ended: with a result or by a signal.
struct Ending {
  int result{0};
  int signal{0};

  friend bool operator==(const Ending&, const Ending&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Ending& ending) {
    return out << "result " << ending.result << ", signal " << ending.signal;
  }
};

constexpr Ending kEndedWell{};

/// A process that does `work` and ends with its result, with 254 after an exception; SIGALRM ends it after
/// 100 seconds. One that is still there at the end of the object is killed.
class Process {
 public:
  explicit Process(const std::function<int()>& work);
  ~Process();

  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Sends SIGKILL.
  void kill() const;

  /// Waits for the end.
  Ending ending();

  /// Whether it has ended by now; `ending` then tells how.
  bool has_ended() const;

 private:
  pid_t pid_;
};

}  // namespace tavtest

#endif
