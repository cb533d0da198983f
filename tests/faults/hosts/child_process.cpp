#include "faults/hosts/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace tavtest {
namespace {

constexpr int threw = 254;
constexpr unsigned patience_seconds = 30;

int run(const std::function<int()>& work) {
  try {
    return work();
  } catch (const std::exception&) {
    return threw;
  }
}

}  // namespace

ChildProcess::ChildProcess(const std::function<int()>& work) : pid_(fork()) {
  if (pid_ == -1) throw std::runtime_error("fork failed");
  if (pid_ != 0) return;
  alarm(patience_seconds);
  _exit(run(work));
}

ChildProcess::~ChildProcess() {
  result();
}

int ChildProcess::result() {
  if (pid_ == -1) return -1;
  int status = 0;
  while (waitpid(pid_, &status, 0) == -1 && errno == EINTR) {
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int failed_part(const std::function<std::vector<bool>()>& work) {
  return in_child([&] {
    const std::vector<bool> parts = work();
    const auto failed = std::find(parts.begin(), parts.end(), false);
    return failed == parts.end() ? 0 : static_cast<int>(failed - parts.begin()) + 1;
  });
}

std::string output_of(const std::string& command) {
  FILE* const output = popen(command.c_str(), "r");
  if (output == nullptr) throw std::runtime_error("popen failed");
  std::string text;
  for (int c = fgetc(output); c != EOF; c = fgetc(output))
    text += static_cast<char>(c);
  pclose(output);
  return text;
}

}  // namespace tavtest
