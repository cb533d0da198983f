#include <tavlib/platform/error_state.h>

#include <cerrno>
#include <cstring>

// Defined here and not in the header: the library exports them, like every operation of its classes.
AErrors::AErrors() = default;
AErrors::~AErrors() = default;

unsigned AErrors::GetOsError() {
  return static_cast<unsigned>(errno);
}

unsigned AErrors::GetRtlError() {
  return GetOsError();
}

void AErrors::SetOsError(unsigned code) {
  errno = static_cast<int>(code);
}

void AErrors::SetRtlError(unsigned code) {
  SetOsError(code);
}

unsigned AErrors::GetOsErrorString(unsigned code, char* buffer, unsigned size) {
  const char* text = std::strerror(static_cast<int>(code));
  if (text == nullptr) text = "unknown error";
  if (buffer != nullptr) std::strncpy(buffer, text, size);
  return static_cast<unsigned>(std::strlen(text));
}

unsigned AErrors::GetRtlErrorString(unsigned code, char* buffer, unsigned size) {
  return GetOsErrorString(code, buffer, size);
}

unsigned AErrors::OsToRtlError(unsigned code) {
  return code;
}

unsigned GetOsError() {
  return AErrors::GetOsError();
}

unsigned GetRtlError() {
  return AErrors::GetRtlError();
}

void SetOsError(unsigned code) {
  AErrors::SetOsError(code);
}

void SetRtlError(unsigned code) {
  AErrors::SetRtlError(code);
}

unsigned GetOsErrorString(unsigned code, char* buffer, unsigned size) {
  return AErrors::GetOsErrorString(code, buffer, size);
}

unsigned GetRtlErrorString(unsigned code, char* buffer, unsigned size) {
  return AErrors::GetRtlErrorString(code, buffer, size);
}

unsigned OsToRtlError(unsigned code) {
  return AErrors::OsToRtlError(code);
}
