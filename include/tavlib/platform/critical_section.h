#ifndef TAVLIB_PLATFORM_CRITICAL_SECTION_H
#define TAVLIB_PLATFORM_CRITICAL_SECTION_H

#ifdef __cplusplus

#include <pthread.h>
#include <tavlib/export.h>

/// A recursive lock for the threads of one process. Every operation may be called from any thread; destroying
/// a lock that somebody holds or waits for is an error of the caller.
class TAVLIB_API ACritSec {
 public:
  ACritSec();
  ~ACritSec();

  ACritSec(const ACritSec&) = delete;
  ACritSec& operator=(const ACritSec&) = delete;

  /// Takes the lock, once more if the calling thread holds it already. When another thread holds it, waits
  /// for as long as it takes with `wait` non-zero, and otherwise fails at once with run-time error 16 (busy).
  /// 1 when the lock is now held, 0 when it is not.
  int DoLock(int wait);

  /// Undoes one DoLock of the calling thread. Does nothing for a thread that does not hold the lock.
  void Unlock();

 protected:
  pthread_mutex_t mutex{};    ///< Guards the other fields; never held while the caller's section runs.
  pthread_cond_t released{};  ///< Signalled on every Unlock.
  pthread_t owner{};          ///< Meaningful only while `count` is not 0.
  unsigned count{0};          ///< Depth of recursion; 0 when free.
};

#endif

#endif
