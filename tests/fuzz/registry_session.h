#ifndef TAVLIB_TESTS_FUZZ_REGISTRY_SESSION_H
#define TAVLIB_TESTS_FUZZ_REGISTRY_SESSION_H

#include <tavlib/registry/registry_handle.h>

#include <memory>
#include <optional>
#include <string>

#include "fuzz/registry_model.h"

namespace tavtest {

/// A registry file in memory and one handle on it. Every operation is done on the library and on the model,
/// and ends the program unless both agree: on the result, the error number, what the open key holds and every
/// byte of the file.
class RegistrySession {
 public:
  explicit RegistrySession(const std::string& content);

  /// Opens below the top of the file, or below the key that is open now.
  void open(const std::string& path, bool create, unsigned access, bool below_open_key = false);
  void close();

  // Without an open key these do nothing.

  void set_value(const ModelValue& value);
  void delete_value(const std::string& name);
  void delete_key(const std::string& name);
  void find_value(const std::string& name);

  /// Whether the file has grown so large that further operations would take too long. A name with a header in
  /// a line of its own makes a further section of the key, and each change writes the key's values into all
  /// of them: the file can double each time.
  bool is_large() const { return content_.size() > kLarge; }

 private:
  static constexpr std::size_t kLarge = 1 << 18;

  void check_file() const;
  void check_read_back() const;

  struct CloseRoot {
    void operator()(ARegistryKey* key) const { ARegKeyFileClose(key); }
  };

  std::string content_;
  std::unique_ptr<ARegistryKey, CloseRoot> root_;
  ARegistry handle_;
  std::optional<ModelKey> key_;
};

}  // namespace tavtest

#endif
