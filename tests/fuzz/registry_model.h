#ifndef TAVLIB_TESTS_FUZZ_REGISTRY_MODEL_H
#define TAVLIB_TESTS_FUZZ_REGISTRY_MODEL_H

#include <optional>
#include <string>
#include <vector>

/// What a registry file means and what changes make of it, worked out on strings.
namespace tavtest {

struct ModelValue {
  std::string name;
  unsigned type = 0;
  std::string bytes;

  friend bool operator==(const ModelValue&, const ModelValue&) = default;
};

/// The result of an operation: 0 for success, or the number of the error.
using ErrorNumber = unsigned;

/// A key that is open, of the file whose content is `*content`.
class ModelKey {
 public:
  /// Opens `path` below the key named `base`. Nothing, and `error` set, when that fails. A header may be
  /// appended to the content.
  static std::optional<ModelKey> open(std::string& content, const std::string& base, const std::string& path,
                                      bool create, unsigned access, bool& created, ErrorNumber& error);

  ErrorNumber set_value(const ModelValue& value);
  ErrorNumber delete_value(const std::string& name);
  ErrorNumber delete_key(const std::string& name);

  /// With a trailing backslash; empty for the root.
  const std::string& name() const { return name_; }
  const std::vector<ModelValue>& values() const { return values_; }
  const ModelValue* find(const std::string& value_name) const;

  /// The names of the children as they are enumerated.
  std::vector<std::string> children() const;

  /// Whether the file, once the key was written, must give every value of it back as it is.
  bool is_holdable() const;

 private:
  ModelKey(std::string& content, std::string name, unsigned access);

  void read_values(std::size_t line);
  void enter(const ModelValue& value);
  void commit(const std::optional<std::string>& removed);

  std::string* content_;
  std::string name_;
  unsigned access_;
  std::vector<ModelValue> values_;
  std::vector<std::string> below_;  ///< Sections below the key, relative to it, in file order.
};

}  // namespace tavtest

#endif
