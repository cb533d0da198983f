#ifndef TAVLIB_TESTS_SUPPORT_INTERPOSE_H
#define TAVLIB_TESTS_SUPPORT_INTERPOSE_H

// Libc calls that a test program takes over: those of paths and users (support/redirect.h) and those of time
// (support/fake_time.h). Without an object of these classes alive, each call goes straight to libc.

#include "support/fake_time.h"
#include "support/redirect.h"

#endif
