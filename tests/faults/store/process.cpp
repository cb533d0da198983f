#include "faults/store/process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <exception>
#include <stdexcept>

#include "registry/libc_hooks.h"

namespace tavtest {

Process::Process(const std::function<int()>& work) : pid_(fork()) {
  if (pid_ == -1) throw std::runtime_error("fork failed");
  if (pid_ != 0) return;
  alarm(100);  // Longer than any test may take.
  forget_hooks();
  try {
    _exit(work());
  } catch (const std::exception&) {
    _exit(254);
  }
}

Process::~Process() {
  if (pid_ == -1) return;
  kill();
  ending();
}

void Process::kill() const {
  ::kill(pid_, SIGKILL);
}

Ending Process::ending() {
  int status = 0;
  while (waitpid(pid_, &status, 0) == -1) {
    if (errno != EINTR) throw std::logic_error("no such process");
  }
  pid_ = -1;
  return WIFEXITED(status) ? Ending{.result = WEXITSTATUS(status)} : Ending{.signal = WTERMSIG(status)};
}

bool Process::has_ended() const {
  siginfo_t ended{};
  waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT);
  return ended.si_pid != 0;
}

}  // namespace tavtest
