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

/// Memory ran out while a key was being loaded. The run-time error is ENOMEM, too.
class TAVLIB_API ARegistryException : public std::bad_alloc {
 public:
  explicit ARegistryException(unsigned errorCode) : code(errorCode) {}
  ARegistryException(const ARegistryException&) = default;
  ARegistryException& operator=(const ARegistryException&) = default;
  ~ARegistryException() override;

  unsigned code;
};

/// One key of a registry file, loaded into memory.
///
/// Every change is written back at once: the whole file is rewritten into "path~", which is then renamed over
/// it, under an exclusive lock between processes. What had the name "path~" before is removed and never
/// written to. Once the call has returned, the change outlasts a loss of power where the file system can keep
/// it.
///
/// A change starts from the file as it is then, so sections of other keys are never lost. Values of this key
/// are those loaded plus its own changes.
///
/// Failure is 0 with the run-time error set:
///   ENOENT            no such entry
///   ENOMEM            out of memory
///   EACCES            access denied
///   EFAULT            a required pointer is null
///   EINVAL            invalid argument
///   name too long, buffer too small
///                     see tavlib/platform/error_state.h
///   any other code    what the system reported
///
/// Threads: one at a time for each object. Different threads may use different keys, of one file or of
/// several. Only one thread of a process at a time creates, loads, commits or destroys a key. The others wait
/// for it, also while it waits for the lock of another process.
class TAVLIB_API ARegistryKey {
 public:
  /// A key of the file `path`, not loaded yet. A missing file is created empty with permission 0600; the
  /// descriptor of a created file stays open. A path of 1023 characters or more sets the run-time error to
  /// name too long, a null one to EFAULT, and both leave the path empty.
  explicit ARegistryKey(const char* path);

  /// The same file and key path, not loaded: a base for opening a key below.
  ARegistryKey(const ARegistryKey& other);
  ARegistryKey& operator=(const ARegistryKey&) = delete;

  ~ARegistryKey();

  /// Opens and reads the key `subPath` below this one; empty is the top of the file. `access` may hold
  /// REGISTRY_ACCESS_WRITE.
  ///
  /// A key that is missing:
  ///   without `create`                        fails with ENOENT
  ///   with `create`, with write access        its section is appended to the file
  ///   with `create`, without write access     fails with EACCES
  /// A key that exists only through sections below it:
  ///   with write access                       its section is appended to the file
  ///   with `create`, without write access     fails with EBADF
  ///   without `create`, without write access  opens without values
  ///
  /// With write access the key is loaded from the newest file; without, from the one that was there when the
  /// call opened it, also when another process replaces that before it can be read.
  ///
  /// `*created`, unless `created` is null, becomes 1 when the key did not exist at all and was created, else
  /// 0. Throws ARegistryException or std::bad_alloc when memory runs out.
  int LoadKey(const char* subPath, int create, unsigned access, int* created);

  /// Stores the name of the `index`-th child in `buffer`, in file order. A child is listed once for each of
  /// its sections, its own and each one below it; a section that repeats the one just before is not listed
  /// again.
  ///
  /// `*size` is the room in `buffer`, terminating zero included. Returns
  ///   1                    stored, and `*size` stays; with `buffer` null, the room needed is in `*size`
  ///   0, buffer too small  the room needed is in `*size`
  ///   0, ENOENT            past the end
  int EnumKey(unsigned index, char* buffer, unsigned* size);

  /// Looks up a value. Stores its type in `*type` and its size in bytes in `*size` (either pointer may be
  /// null) and, with `data` not null, its bytes at `data`, where `*size` is the room.
  ///
  /// Returns
  ///   1                    found
  ///   0, buffer too small  the room needed is in `*size`
  ///   0, ENOENT            no such value
  ///   0, EFAULT            the name is null, or `size` is null and `data` is not
  int FindValue(const char* name, unsigned* type, unsigned* size, unsigned char* data);

  /// Stores the name of the `index`-th value in `name`. `*size` is the room there, terminating zero included.
  ///
  /// Returns
  ///   1                    stored, and `*size` stays; with `name` null, the room needed is in `*size`
  ///   0, buffer too small  `*size` stays as it was
  ///   0, ENOENT            past the end
  int EnumValue(unsigned index, char* name, unsigned* size);

  /// Stores a copy of `size` bytes (none when `data` is null) under `name` and writes the file. A failed
  /// write leaves the file as it was.
  ///
  /// Fails with EINVAL on the root key, with EACCES on a key without write access.
  int SetValue(const char* name, unsigned type, unsigned size, const unsigned char* data);

  /// Removes a value whose position, counted from 0, is even, and writes the file; a value at an odd position
  /// is not found (ENOENT). Needs no write access.
  int DeleteValue(const char* name);

  /// Removes a child and writes the file, without the section whose full path is `name`. So the child's
  /// section leaves the file only when this key is the root; below the root only this object forgets it.
  ///
  /// Fails with
  ///   ENOENT  there is no such child
  ///   EACCES  this key has no write access; or something lies below the child; or, among the sections below
  ///           this key, the one after the child's has a path that `name` equals or begins with
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

/// Creates a key for the registry file `path` (created if missing), for use as the root of ARegistry::Open,
/// also in several threads at once. The caller frees it with ARegKeyFileClose. Throws std::bad_alloc when
/// memory runs out.
TAVLIB_API ARegistryKey* ARegKeyFile(const char* path);

/// Destroys a key from ARegKeyFile; null is ignored. Always 1.
TAVLIB_API int ARegKeyFileClose(ARegistryKey* key);

TAVLIB_END_C

#endif
