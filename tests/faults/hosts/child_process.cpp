#include "faults/hosts/child_process.h"

#include <fcntl.h>
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

ChildProcess::ChildProcess(const std::function<int()>& work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
  pid_ = fork();
  if (pid_ == 0) {
    alarm(patience_seconds);
    const int result = run(work);
    _exit(write(ends[1], &result, sizeof result) == sizeof result ? 0 : 1);
  }
  close(ends[1]);
  results_ = ends[0];
  if (pid_ == -1) throw std::runtime_error("fork failed");
}

ChildProcess::~ChildProcess() {
  close(results_);
  while (waitpid(pid_, nullptr, 0) == -1 && errno == EINTR) {
  }
}

int ChildProcess::result() const {
  int result = 0;
  return read(results_, &result, sizeof result) == sizeof result ? result : -1;
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
