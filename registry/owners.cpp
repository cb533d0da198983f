#include "platform/keep_error.h"

#include <tavlib/registry/registry_key.h>

#include <cstdlib>

void ARegistryKey::CloseStream::operator()(std::FILE* stream) const {
  const tavlib::KeepError keep;
  static_cast<void>(std::fclose(stream));
}

void ARegistryKey::FreeText::operator()(char* text) const {
  const tavlib::KeepError keep;
  std::free(text);
}
