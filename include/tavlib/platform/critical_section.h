#ifndef TAVLIB_PLATFORM_CRITICAL_SECTION_H
#define TAVLIB_PLATFORM_CRITICAL_SECTION_H

#ifdef __cplusplus

#include <pthread.h>
#include <tavlib/export.h>

/// A recursive lock for the threads of one process.
///
/// Threads: every operation may be called from any thread. The caller must not destroy a lock that a thread
/// holds or waits for.
class TAVLIB_API ACritSec {
 public:
  ACritSec();
  ~ACritSec();

  ACritSec(const ACritSec&) = delete;
  ACritSec& operator=(const ACritSec&) = delete;

  /// Takes the lock, once more if the calling thread holds it already.
  ///
  /// When another thread holds it: with `wait` not 0, waits for as long as that takes; with 0, fails at once
  /// with run-time error EBUSY.
  ///
  /// Returns 1 when the lock is now held, 0 when it is not.
  int DoLock(int wait);

  /// Undoes one DoLock of the calling thread. Does nothing in a thread that does not hold the lock.
  void Unlock();

 protected:
  pthread_mutex_t mutex{};    ///< Guards the other fields; never held while the caller's section runs.
  pthread_cond_t released{};  ///< Signalled on every Unlock.
  pthread_t owner{};          ///< Meaningful only while `count` is not 0.
  unsigned count{0};          ///< Depth of recursion; 0 when free.
};

#endif

#endif
