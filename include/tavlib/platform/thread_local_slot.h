#ifndef TAVLIB_PLATFORM_THREAD_LOCAL_SLOT_H
#define TAVLIB_PLATFORM_THREAD_LOCAL_SLOT_H

#ifdef __cplusplus

#include <pthread.h>
#include <tavlib/export.h>

#include <cstdint>

/// Thrown when a thread-local slot cannot be created.
class TAVLIB_API ATlsException {
 public:
  explicit ATlsException(unsigned errorCode) : code(errorCode) {}

  unsigned code;  ///< The run-time error (GetRtlError) at the time of the failure.
};

/// One thread-local slot: a pointer of each thread's own, null until the thread sets one.
///
/// The slot owns no values. The destructor function, if there is one, is called with a thread's non-null
/// value when that thread ends, but not when the slot itself is destroyed.
///
/// Threads: any thread may read and set its own value; the slot must outlive those calls.
class TAVLIB_API ATls {
 public:
  /// Creates the slot. Throws ATlsException when the platform refuses a new key.
  ATls();
  explicit ATls(void (*destructor)(void*));

  virtual ~ATls();

  ATls(const ATls&) = delete;
  ATls& operator=(const ATls&) = delete;

  /// Sets the calling thread's value. 1, or 0 when the platform could not store it.
  int SetValue(void* value);

  /// The calling thread's value; null when it never set one.
  void* GetValue();

 protected:
  pthread_key_t key{};
  std::uint32_t created{0};
};

#endif

#endif
