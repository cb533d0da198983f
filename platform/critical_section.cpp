#include <tavlib/platform/critical_section.h>
#include <tavlib/platform/error_state.h>

#include "platform/error_codes.h"

namespace {

class MutexGuard {
 public:
  explicit MutexGuard(pthread_mutex_t& guarded) : mutex_(guarded) { pthread_mutex_lock(&mutex_); }
  ~MutexGuard() { pthread_mutex_unlock(&mutex_); }

  MutexGuard(const MutexGuard&) = delete;
  MutexGuard& operator=(const MutexGuard&) = delete;

 private:
  pthread_mutex_t& mutex_;
};

}  // namespace

ACritSec::ACritSec() : owner(pthread_self()) {
  pthread_mutex_init(&mutex, nullptr);
  pthread_cond_init(&released, nullptr);
}

ACritSec::~ACritSec() {
  pthread_cond_destroy(&released);
  pthread_mutex_destroy(&mutex);
}

int ACritSec::DoLock(int wait) {
  const MutexGuard guard(mutex);
  const bool mine = pthread_equal(owner, pthread_self()) != 0;
  if (count != 0 && !mine && wait == 0) {
    SetRtlError(tavlib::kBusy);
    return 0;
  }
  if (!mine) {
    while (count != 0)
      pthread_cond_wait(&released, &mutex);
  }
  ++count;
  owner = pthread_self();
  return 1;
}

void ACritSec::Unlock() {
  const MutexGuard guard(mutex);
  if (count == 0 || pthread_equal(owner, pthread_self()) == 0) return;
  --count;
  pthread_cond_signal(&released);
}
