#ifndef TAVLIB_REGISTRY_REGISTRY_H
#define TAVLIB_REGISTRY_REGISTRY_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/registry/registry_handle.h>

#include <string>

/// A handle bound to one root that reads and writes texts and numbers.
///
/// Results are 1, or 0 with the run-time error set, as for ARegistryKey. Values are read and written on an
/// open key.
///
/// Threads: one at a time for each object; different threads may use different objects.
class TAVLIB_API Registry {
 public:
  /// `rootKey` is not owned and must outlive the object.
  explicit Registry(ARegistryKey* rootKey);
  virtual ~Registry();

  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  /// Opens the key `path` below the root; empty is the top of the file.
  int Open(const char* path, unsigned access);
  int Open(const std::string& path, unsigned access);

  /// Opens the key with write access, creating it if missing. `access` is ignored.
  int Create(const char* path, unsigned access);

  /// Closes the key, if one is open.
  void Close();

  /// Stores a number in `value`: a REG_DWORD as it is, any other value through its decimal text ("x" gives
  /// 0). Fails with ENOMEM when memory runs out.
  int QueryValue(const char* name, unsigned& value);

  /// Stores a value's text in `value`, up to its first zero byte or its end.
  int QueryValue(const char* name, std::string& value);

  /// Stores a text as REG_SZ with its terminating zero byte.
  int SetValue(const char* name, const std::string& value);

  /// Stores the name of the `index`-th child in `name`, in the order of ARegistryKey::EnumKey.
  int EnumKey(unsigned index, std::string& name);

  /// Not offered here: always 0, with no error set.
  int DeleteKey(const char* name);
  int DeleteValue(const char* name);

  /// The open key, owned by this object; null after Close or a failed open.
  ARegistryKey* GetKey() const;

 protected:
  ARegistryKey* current{nullptr};
  ARegistryKey* root;
  ARegistry handle;
};

#endif

#endif
