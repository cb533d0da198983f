#ifndef TAVLIB_REGISTRY_REGISTRY_H
#define TAVLIB_REGISTRY_REGISTRY_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/registry/registry_handle.h>

#include <string>

/// A handle bound to one root that reads and writes texts and numbers. Results are 1, or 0 with the run-time
/// error set as ARegistryKey tells; values are asked for on an open key. An object belongs to one thread at a
/// time; different threads may use different ones, as ARegistry says.
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

  /// A number: a REG_DWORD as it is, any other value through its decimal text ("x" gives 0). Error 12 when
  /// memory runs out.
  int QueryValue(const char* name, unsigned& value);

  /// A value's text, up to its first zero byte or its end.
  int QueryValue(const char* name, std::string& value);

  /// Stores a text as REG_SZ with its terminating zero byte.
  int SetValue(const char* name, const std::string& value);

  /// The name of the `index`-th child, in the order of ARegistryKey::EnumKey.
  int EnumKey(unsigned index, std::string& name);

  /// Not offered here: always 0.
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
