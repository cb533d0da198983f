#ifndef TAVLIB_REGISTRY_REGISTRY_HANDLE_H
#define TAVLIB_REGISTRY_REGISTRY_HANDLE_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/registry/registry_key.h>

#include <cstdint>
#include <memory>

/// Predefined roots: ".regfile" in the home directory of the calling process's real user, and in that of user
/// id 0.
// NOLINTBEGIN(performance-no-int-to-ptr): small numbers that stand for keys.
inline ARegistryKey* const REGISTRY_ROOT_USER = reinterpret_cast<ARegistryKey*>(std::uintptr_t{1});
inline ARegistryKey* const REGISTRY_ROOT_SUPERUSER = reinterpret_cast<ARegistryKey*>(std::uintptr_t{2});
// NOLINTEND(performance-no-int-to-ptr)

/// An open handle on one registry key.
///
/// All operations but Open, Close and GetKey need an open handle and fail with EFAULT without one. Results
/// and errors are those of ARegistryKey.
///
/// Threads: one at a time for each object. Different threads may use different handles, also of one file and
/// below one root. Opening, changing and closing wait for other threads, as described at ARegistryKey.
class TAVLIB_API ARegistry {
 public:
  ARegistry();
  virtual ~ARegistry();

  ARegistry(const ARegistry&) = delete;
  ARegistry& operator=(const ARegistry&) = delete;

  /// Opens the key `path` below `root`: a predefined root, a key from ARegKeyFile, or an open key (this
  /// handle's own included). An empty `path` is the top of the file. An open handle is closed first, also
  /// when the new open fails.
  ///
  /// `*disposition`, unless `disposition` is null, becomes 0 when the key did not exist at all and was
  /// created, else 1. It is not written on failure.
  ///
  /// Returns 1; or 0 with the handle closed. Throws what ARegistryKey::LoadKey throws.
  int Open(ARegistryKey* root, const char* path, int create, unsigned* disposition, unsigned access);

  /// Destroys the loaded key. Always 1.
  int Close();

  /// ARegistryKey's operations on the loaded key. QueryValue is its FindValue.
  int EnumKey(unsigned index, char* name, unsigned* size);
  int EnumValue(unsigned index, char* name, unsigned* size);
  int QueryValue(const char* name, unsigned* type, unsigned* size, unsigned char* data);
  int SetValue(const char* name, unsigned type, unsigned size, const unsigned char* data);
  int DeleteValue(const char* name);
  int DeleteKey(const char* name);

  /// The loaded key, owned by the handle; null when closed.
  ARegistryKey* GetKey() const;

 protected:
  std::unique_ptr<ARegistryKey> key;
};

#endif

#endif
