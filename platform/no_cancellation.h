#ifndef TAVLIB_PLATFORM_NO_CANCELLATION_H
#define TAVLIB_PLATFORM_NO_CANCELLATION_H

#include <pthread.h>

namespace tavlib {

/// Puts off a cancellation of the calling thread (pthread_cancel) for the length of a block, where leaving half-way
/// would leave something behind, or leave a destructor.
class NoCancellation {
 public:
  NoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~NoCancellation() { pthread_setcancelstate(before_, nullptr); }

  NoCancellation(const NoCancellation&) = delete;
  NoCancellation& operator=(const NoCancellation&) = delete;

 private:
  int before_{PTHREAD_CANCEL_ENABLE};
};

}  // namespace tavlib

#endif
