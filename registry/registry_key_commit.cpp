#include "registry/failure.h"
#include "registry/operation.h"
#include "registry/registry_file.h"
#include "registry/replacement_file.h"
#include "registry/section_copier.h"

#include <tavlib/registry/registry_key.h>

int ARegistryKey::Commit(const char* removeKey) {
  if (!values) return tavlib::fail(tavlib::kNoSuchEntry);
  const tavlib::Operation operation;
  if (!file || !tavlib::is_writable(file.get())) {
    // A stream for reading cannot be locked exclusively, and a failed commit may have lost the stream.
    tavlib::Stream writable = tavlib::open_for_writing(path);
    if (!writable) return 0;
    file = std::move(writable);
  }
  std::optional<AFileLocker> lock;
  if (!tavlib::lock_current(file, path, AFileLocker::Exclusive, lock)) return 0;

  tavlib::ReplacementFile replacement(path);
  if (replacement.stream() == nullptr) return 0;
  tavlib::SectionCopier copier(replacement.stream(), keyName.get(), *values, removeKey);
  if (!copier.copy(fileno(file.get())) || !replacement.replace()) return 0;

  tavlib::Stream replaced = std::move(file);
  file = tavlib::open_for_writing(path);
  lock.reset();
  return file ? 1 : 0;
}
