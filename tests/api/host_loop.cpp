#include "api/host_loop.h"

#include <poll.h>
#include <tavlib/api/sso.h>

#include <stdexcept>

#include "api/process_state.h"

namespace tavtest {
namespace {

constexpr int endless = 10000;

bool readable(int socket) {
  pollfd descriptor{socket, POLLIN, 0};
  return poll(&descriptor, 1, 0) == 1 && (descriptor.revents & POLLIN) != 0;
}

}  // namespace

int HostLoop::run(int first) const {
  const Registration youngest = set.at(set.size() - 1);
  return youngest.ready(first, youngest.argument);
}

int HostLoop::run_ready() const {
  int runs = 0;
  while (!set.empty() && readable(set.back().socket)) {
    run();
    if (++runs == endless) throw std::runtime_error("the socket stays readable");
  }
  return runs;
}

HostLoop& host_loop() {
  static HostLoop loop;
  return loop;
}

}  // namespace tavtest

extern "C" {

int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  tavtest::host_loop().set.push_back({socket, ready, argument});
  return -1;  // of no interest to the library
}

int T_event_del_socket(int socket) {
  tavtest::HostLoop& loop = tavtest::host_loop();
  loop.removed.push_back({socket, g_ServerList != nullptr});
  if (loop.then) loop.then();
  return -1;
}
}
