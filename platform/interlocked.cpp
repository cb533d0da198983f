#include <pthread.h>
#include <tavlib/platform/interlocked.h>

#include <cstdint>

namespace {

pthread_once_t once = PTHREAD_ONCE_INIT;
pthread_mutex_t mutex;

void create_mutex() {
  pthread_mutex_init(&mutex, nullptr);
}

class GlobalLock {
 public:
  GlobalLock() {
    pthread_once(&once, create_mutex);
    pthread_mutex_lock(&mutex);
  }
  ~GlobalLock() { pthread_mutex_unlock(&mutex); }

  GlobalLock(const GlobalLock&) = delete;
  GlobalLock& operator=(const GlobalLock&) = delete;
};

std::int32_t low32(long value) {
  return static_cast<std::int32_t>(value);
}

// The sum modulo 2^32, as a signed number.
std::int32_t sum(std::int32_t left, std::int32_t right) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

}  // namespace

long InterlockedIncrement(long* target) {
  return sum(low32(InterlockedExchangeAdd(target, 1)), 1);
}

long InterlockedDecrement(long* target) {
  return sum(low32(InterlockedExchangeAdd(target, -1)), -1);
}

long InterlockedExchange(long* target, long value) {
  const GlobalLock lock;
  const std::int32_t old = low32(*target);
  *target = low32(value);
  return old;
}

long InterlockedCompareExchange(long* target, long exchange, long comparand) {
  const GlobalLock lock;
  const std::int32_t old = low32(*target);
  if (old == low32(comparand)) *target = low32(exchange);
  return old;
}

long InterlockedExchangeAdd(long* target, long increment) {
  const GlobalLock lock;
  const std::int32_t old = low32(*target);
  *target = sum(old, low32(increment));
  return old;
}
