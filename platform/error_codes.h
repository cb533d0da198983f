#ifndef TAVLIB_ERROR_CODES_H
#define TAVLIB_ERROR_CODES_H

namespace tavlib {

/// The codes that the library reports through AErrors. The numbers are part of the interface on every host,
/// also where the system has other `errno` names for them (see tavlib/platform/error_state.h).
enum ErrorCode : unsigned {
  kNoSuchEntry = 2,
  kOutOfMemory = 12,
  kAccessDenied = 13,
  kBadAddress = 14,
  kBusy = 16,
  kInvalidArgument = 22,
  kNameTooLong = 78,
  kTooLarge = 79,
};

}  // namespace tavlib

#endif
