#ifndef TAVLIB_REGISTRY_SECTION_READER_H
#define TAVLIB_REGISTRY_SECTION_READER_H

#include "platform/quiet_memory.h"

#include <sys/types.h>
#include <tavlib/registry/registry_data.h>
#include <tavlib/registry/registry_key_list.h>

#include <optional>

namespace tavlib {

/// What a registry file holds of one key.
struct Section {
  /// The key has a section of its own or sections below it.
  bool present{false};
  /// Where the values of its last section start; the file's start for the root.
  std::optional<off_t> values_at;
};

/// Looks up a key in an open file and enters the sections below it into `below`. `target` is the key's full
/// path with a trailing backslash, empty for the root. False with the system's error when the file cannot be
/// read. Throws ARegistryException when memory runs out.
bool find_section(int fd, const QuietString& target, ARegistryKeyList& below, Section& section);

/// Enters the values that start at a position and end at the next header. Lines that hold no value are left
/// out. False with the system's error. Throws ARegistryException or std::bad_alloc when memory runs out.
bool read_values(int fd, off_t position, ARegistryData& values);

/// Appends a header line for `target` and waits until it is on the disk. False with the system's error; the
/// file is then as it was. The caller holds an exclusive lock.
bool append_section(int fd, const QuietString& target);

}  // namespace tavlib

#endif
