#include "platform/keep_error.h"
#include "platform/no_cancellation.h"

#include <tavlib/registry/registry_key.h>

#include <cstdlib>

void ARegistryKey::CloseStream::operator()(std::FILE* stream) const {
  const tavlib::KeepError keep;
  const tavlib::NoCancellation whole;  // what the stream holds may have to be written
  static_cast<void>(std::fclose(stream));
}

void ARegistryKey::FreeText::operator()(char* text) const {
  const tavlib::KeepError keep;
  std::free(text);
}
