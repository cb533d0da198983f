#ifndef TAVLIB_REGISTRY_REGISTRY_KEY_LIST_H
#define TAVLIB_REGISTRY_REGISTRY_KEY_LIST_H

#ifdef __cplusplus

#include <tavlib/export.h>

#include <cstdint>

/// The sections that lie below one registry key, each as its path relative to the key with a trailing
/// backslash, in the order and spelling of the file. Not for use by several threads at once.
class TAVLIB_API ARegistryKeyList {
 public:
  ARegistryKeyList() = default;
  ~ARegistryKeyList();

  ARegistryKeyList(const ARegistryKeyList&) = delete;
  ARegistryKeyList& operator=(const ARegistryKeyList&) = delete;

  /// Appends a copy of `name`. 1, or 0 with error 12.
  int Enter(const char* name);

  /// The path at `index`, owned by the list; null past the end.
  const char* Enum(unsigned index);

  /// Removes the last entry that equals `name`, ignoring case. 1; 0 with ENOENT when there is none, or with
  /// EACCES when an entry begins with `name` and goes on, or when `name` equals or begins with the entry
  /// behind one that equals it.
  int Delete(const char* name);

  /// Puts the entries in the order of KeySortCompare, in which they already stand. 1, or 0 for a list that
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
