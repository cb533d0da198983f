#include "event_loop.h"

#include <sys/epoll.h>
#include <tavlib/tavlib.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace gateway {

EventLoop& EventLoop::instance() {
  static EventLoop loop;
  return loop;
}

EventLoop::EventLoop() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  if (epoll_ == -1) throw std::system_error(errno, std::generic_category(), "epoll_create1");
}

EventLoop::~EventLoop() {
  close(epoll_);
}

int EventLoop::watch(int socket, Ready ready, void* argument) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = socket;
  if (epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event) != 0) return -1;
  watches_[socket] = Watch{ready, argument};
  return 0;
}

int EventLoop::forget(int socket) {
  if (watches_.erase(socket) == 0) return -1;
  return epoll_ctl(epoll_, EPOLL_CTL_DEL, socket, nullptr);
}

bool EventLoop::run_once(int milliseconds) {
  std::array<epoll_event, 16> events{};
  const int count = epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), milliseconds);
  if (count == -1 && errno == EINTR) return true;
  if (count == -1) throw std::system_error(errno, std::generic_category(), "epoll_wait");
  ++round_;
  for (int i = 0; i < count; ++i) {
    // A callback may have ended the watch of a socket that comes later in the same round.
    const auto found = watches_.find(events.at(static_cast<std::size_t>(i)).data.fd);
    if (found == watches_.end()) continue;
    const Watch watch = found->second;
    watch.ready(round_, watch.argument);
  }
  return count > 0;
}

}  // namespace gateway

// The two functions by which the library finds the loop, as its header declares them.
extern "C" {

int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  return gateway::EventLoop::instance().watch(socket, ready, argument);
}

int T_event_del_socket(int socket) {
  return gateway::EventLoop::instance().forget(socket);
}
}
