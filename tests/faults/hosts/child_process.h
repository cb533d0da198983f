#ifndef TAVLIB_TESTS_FAULTS_HOSTS_CHILD_PROCESS_H
#define TAVLIB_TESTS_FAULTS_HOSTS_CHILD_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace tavtest {

/// A fork of this process that does `work` and ends with its result, without any of the test's own ends.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<int()>& work);
  ~ChildProcess();

  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits for the end and gives the result; -1 when it was killed.
  int result();

 private:
  pid_t pid_;
};

/// Does `work` in a child from start to end.
inline int in_child(const std::function<int()>& work) {
  return ChildProcess(work).result();
}

/// Does `work` in a child: 0 when all that it gives is true, else the number of the first part that is not,
/// from 1 on.
int failed_part(const std::function<std::vector<bool>()>& work);

/// What a shell that is forked and executed now prints for `command`.
std::string output_of(const std::string& command);

}  // namespace tavtest

#endif
