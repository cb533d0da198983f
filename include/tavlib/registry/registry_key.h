#ifndef TAVLIB_REGISTRY_REGISTRY_KEY_H
#define TAVLIB_REGISTRY_REGISTRY_KEY_H

#include <tavlib/export.h>

#ifdef __cplusplus

#include <tavlib/registry/registry_data.h>
#include <tavlib/registry/registry_key_list.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>

/// Access bit that allows changes to a key.
enum : unsigned { REGISTRY_ACCESS_WRITE = 2 };

/// Memory ran out while a key was being loaded. The run-time error is 12, too.
class TAVLIB_API ARegistryException : public std::bad_alloc {
 public:
  explicit ARegistryException(unsigned errorCode) : code(errorCode) {}
  ARegistryException(const ARegistryException&) = default;
  ARegistryException& operator=(const ARegistryException&) = default;
  ~ARegistryException() override;

  unsigned code;
};

/// One key of a registry file, loaded into memory. Every change is written back at once: the whole file is
/// rewritten into "path~", which is then renamed over it, under an exclusive lock between processes. What has
/// that name before is removed, and never written to. Once the call has returned, the change outlasts a loss
/// of power where the file system can keep it. A change
/// starts from the file as it is then, so sections of other keys are never lost; values of this key are those
/// loaded plus its own changes.
///
/// Failure is 0 with the run-time error set: 2 no such entry, 12 out of memory, 13 access denied, 14 a
/// required pointer is null, 22 invalid argument, 78 name too long, 79 buffer too small, or what the system
/// reported.
///
/// A key belongs to one thread at a time; different threads may use different keys, of one file or of
/// several. One thread of a process at a time makes, loads, commits or destroys a key, and the others wait
/// for it, also while it waits for the lock of another process.
class TAVLIB_API ARegistryKey {
 public:
  /// A key of the file `path`, not loaded yet. A missing file is created empty with permission 0600, and the
  /// descriptor of that stays open. A path of 1023 characters or more sets error 78 and leaves the path
  /// empty.
  explicit ARegistryKey(const char* path);

  /// The same file and key path, not loaded: a base for opening a key below.
  ARegistryKey(const ARegistryKey& other);
  ARegistryKey& operator=(const ARegistryKey&) = delete;

  ~ARegistryKey();

  /// Opens and reads the key `subPath` below this one; empty is the top of the file. `access` may hold
  /// REGISTRY_ACCESS_WRITE. A missing key is ENOENT; with `create`, its section is appended to the file, or
  /// without write access the call fails with EACCES. A key that exists only through sections below it gets a
  /// section of its own with write access, fails with EBADF with `create` and without write access, and opens
  /// without values with neither. `*created`, unless `created` is null, becomes 1 when the key did not exist
  /// at all and was created, else 0. With write access the key is loaded from the newest file; without, from
  /// the one that was there when the call opened it, also when another process replaces that before it can be
  /// read. Throws ARegistryException or std::bad_alloc when memory runs out.
  int LoadKey(const char* subPath, int create, unsigned access, int* created);

  /// The name of the `index`-th child, in file order; a child with a section of its own and sections below it
  /// is given more than once. Past the end: error 2. With `buffer` null, `*size` receives the room needed,
  /// terminator included. A smaller `*size` receives it with error 79; otherwise `*size` is left alone.
  int EnumKey(unsigned index, char* buffer, unsigned* size);

  /// Looks a value up: its type and size in bytes (either pointer may be null) and, with `data`, its bytes.
  /// When `*size` is too small for those it receives the room needed, with error 79.
  int FindValue(const char* name, unsigned* type, unsigned* size, unsigned char* data);

  /// The name of the `index`-th value. With `name` null, `*size` receives the room needed, terminator
  /// included. A smaller `*size` is error 79 and is left alone.
  int EnumValue(unsigned index, char* name, unsigned* size);

  /// Stores a copy of `size` bytes (none when `data` is null) under `name` and writes the file. The root key
  /// refuses with 22, a key without write access with 13. A failed write leaves the file as it was.
  int SetValue(const char* name, unsigned type, unsigned size, const unsigned char* data);

  /// Removes a value that stands at an even position (error 2 otherwise) and writes the file. Needs no write
  /// access.
  int DeleteValue(const char* name);

  /// Removes a child and writes the file, without the section whose full path is `name`. EACCES when
  /// something lies below the child, and when the section behind the child's, among those below this key, has
  /// a path that `name` equals or begins with; ENOENT when there is no such child. So the child's section
  /// leaves the file only when this key is the root; below that only this object forgets it.
  int DeleteKey(const char* name);

  /// Rewrites the file with this key's values, and without the section `removeKey` (a full path with a
  /// trailing backslash; null: none).
  int Commit(const char* removeKey);

  /// Release a stream and a text from malloc, and leave the run-time error as it is.
  struct CloseStream {
    void operator()(std::FILE* stream) const;
  };
  struct FreeText {
    void operator()(char* text) const;
  };

 protected:
  std::unique_ptr<std::FILE, CloseStream> file;  ///< Open while the key is loaded.
  char path[1024]{};                             ///< Of the registry file.
  std::unique_ptr<char, FreeText> keyName;       ///< Full path and a backslash; null or empty for the root.
  std::unique_ptr<ARegistryData> values;
  std::unique_ptr<ARegistryKeyList> subkeys;
  std::uint32_t access{0};
};

#else

typedef struct ARegistryKey ARegistryKey;

#endif

TAVLIB_BEGIN_C

/// A key for the registry file `path` (created if missing), for use as the root of ARegistry::Open,
/// in several threads at once if need be. The caller releases it with ARegKeyFileClose. Throws std::bad_alloc
/// when memory runs out.
TAVLIB_API ARegistryKey* ARegKeyFile(const char* path);

/// Destroys a key from ARegKeyFile; null is ignored. Always 1.
TAVLIB_API int ARegKeyFileClose(ARegistryKey* key);

TAVLIB_END_C

#endif
