#ifndef TAVLIB_REGISTRY_REGISTRY_KEY_LIST_H
#define TAVLIB_REGISTRY_REGISTRY_KEY_LIST_H

#ifdef __cplusplus

#include <tavlib/export.h>

#include <cstdint>

/// The sections that lie below one registry key, in the order and spelling of the file. Each is its path
/// relative to the key, with a trailing backslash.
///
/// Threads: one at a time for each object.
class TAVLIB_API ARegistryKeyList {
 public:
  ARegistryKeyList() = default;
  ~ARegistryKeyList();

  ARegistryKeyList(const ARegistryKeyList&) = delete;
  ARegistryKeyList& operator=(const ARegistryKeyList&) = delete;

  /// Appends a copy of `name`. 1; or 0 with ENOMEM when memory runs out, EFAULT for a null name.
  int Enter(const char* name);

  /// The path at `index`, owned by the list; null past the end.
  const char* Enum(unsigned index);

  /// Removes the last entry that equals `name`, ignoring case. Returns
  ///   1          removed
  ///   0, ENOENT  there is none
  ///   0, EACCES  an entry begins with `name` and goes on; or `name` equals or begins with the entry after
  ///              one that equals it
  ///   0, EFAULT  the name is null
  int Delete(const char* name);

  /// Leaves the entries in the order of KeySortCompare, in which they already stand. 1, or 0 for a list that
  /// never held an entry.
  int Sort();

  /// Orders two slots of one list by their position: enumeration follows the file and is never alphabetical.
  static int KeySortCompare(const void* first, const void* second);

 protected:
  char** entries{nullptr};
  std::uint32_t count{0};
  std::uint32_t capacity{0};  ///< Grows by 10.
};

#endif

#endif
