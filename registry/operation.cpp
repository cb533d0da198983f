#include "registry/operation.h"

#include <unistd.h>

#include <atomic>
#include <memory>
#include <mutex>

namespace tavlib {

namespace {

// A thread that waits for the current turn holds the next one. Otherwise a thread that makes one change after
// the other would get each turn before the waiting threads are awake.
struct Turns {
  std::mutex next;
  std::mutex current;
};

constinit Turns turns;

// The process whose threads share the turns; negative while that process creates them, and 0 before the
// first.
constinit std::atomic<pid_t> owner{0};

// The child of a fork has none of the threads whose turn it was in its parent, and none of its parent's locks
// on files, so it creates turns of its own.
void make_own_turns() {
  const pid_t self = getpid();
  for (pid_t process = owner.load(); process != self; process = owner.load()) {
    // Another thread that creates them needs a few instructions.
    if (process != -self && owner.compare_exchange_strong(process, -self)) {
      std::construct_at(&turns);
      owner.store(self);
    }
  }
}

}  // namespace

Operation::Operation() {
  make_own_turns();
  const std::lock_guard waiting(turns.next);
  turns.current.lock();
}

Operation::~Operation() {
  turns.current.unlock();
}

}  // namespace tavlib
