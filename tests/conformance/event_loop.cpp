#include "conformance/event_loop.h"

#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <tavlib/api/sso.h>
#include <unistd.h>

#include <array>

namespace tavtest {
namespace {

constexpr int patience_ms = 5000;
constexpr int loops_own_number = 77;

EventLoop* living = nullptr;

}  // namespace

EventLoop::EventLoop() : epoll_(epoll_create1(EPOLL_CLOEXEC)) {
  living = this;
}

EventLoop::~EventLoop() {
  living = nullptr;
  close(epoll_);
}

bool EventLoop::run_until(const std::function<bool()>& done) {
  while (!done()) {
    if (!serve(patience_ms)) return false;
  }
  return true;
}

void EventLoop::run_once() {
  serve(0);
}

bool EventLoop::serve(int timeout_ms) {
  std::array<epoll_event, 8> events{};
  const int ready = epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), timeout_ms);
  for (int i = 0; i < ready; ++i) {
    const auto found = watched_.find(events.at(static_cast<std::size_t>(i)).data.fd);
    if (found == watched_.end()) continue;  // taken out by an earlier callback of this round
    const Watched each = found->second;
    EXPECT_EQ(each.ready(loops_own_number, each.argument), loops_own_number);
  }
  return ready > 0;
}

void EventLoop::add(int socket, int (*ready)(int, void*), void* argument) {
  added_.push_back(socket);
  watched_[socket] = {ready, argument};
  epoll_event wanted{};
  wanted.events = EPOLLIN;
  wanted.data.fd = socket;
  const int result = epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &wanted);
  EXPECT_EQ(result, socket == -1 ? -1 : 0) << "socket " << socket;
}

void EventLoop::remove(int socket) {
  removed_.push_back(socket);
  watched_.erase(socket);
  const int result = epoll_ctl(epoll_, EPOLL_CTL_DEL, socket, nullptr);
  EXPECT_EQ(result, socket == -1 ? -1 : 0) << "socket " << socket;
}

}  // namespace tavtest

extern "C" {

int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  if (tavtest::living != nullptr) tavtest::living->add(socket, ready, argument);
  return 0;
}

int T_event_del_socket(int socket) {
  if (tavtest::living != nullptr) tavtest::living->remove(socket);
  return 0;
}
}
