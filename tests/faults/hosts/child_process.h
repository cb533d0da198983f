#ifndef TAVLIB_TESTS_FAULTS_HOSTS_CHILD_PROCESS_H
#define TAVLIB_TESTS_FAULTS_HOSTS_CHILD_PROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace tavtest {

/// A fork of this process that does `work`, tells its result and ends, without any of the test's own ends.
/// The result goes through a pipe: leak checkers make an exit code of their own when the child has lost
/// memory on purpose.
class ChildProcess {
 public:
  explicit ChildProcess(const std::function<int()>& work);
  ~ChildProcess();

  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits for the result; -1 when the child ended without one.
  int result() const;

 private:
  pid_t pid_;
  int results_;
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
