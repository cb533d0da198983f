#ifndef TAVLIB_TESTS_REGISTRY_REGISTRY_FIXTURE_H
#define TAVLIB_TESTS_REGISTRY_REGISTRY_FIXTURE_H

#include <gtest/gtest.h>
#include <tavlib/platform/error_state.h>
#include <tavlib/registry/registry_key.h>

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace tavtest {

/// A value as a key gives it.
struct Value {
  unsigned type;
  std::string bytes;

  friend bool operator==(const Value&, const Value&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Value& value);
};

using Names = std::vector<std::string>;

/// A text with its zero bytes: zeroed("a\0b") has three.
template <std::size_t size>
std::string zeroed(const char (&text)[size]) {
  return {text, size - 1};
}

/// Names the tests of a parameterised suite after their cases.
template <typename Case>
std::string case_name(const testing::TestParamInfo<Case>& tested) {
  return tested.param.name;
}

/// A key whose fields a test can see.
struct TestKey : ARegistryKey {
  explicit TestKey(const std::string& filePath) : ARegistryKey(filePath.c_str()) {}
  using ARegistryKey::ARegistryKey;

  using ARegistryKey::access;
  using ARegistryKey::file;
  using ARegistryKey::keyName;
  using ARegistryKey::path;
  using ARegistryKey::subkeys;
  using ARegistryKey::values;

  Names sections_below() const;
};

/// Whether `call` gives 0 and leaves `code` as the run-time error.
testing::AssertionResult fails_with(unsigned code, const std::function<int()>& call);

std::optional<Value> find_value(ARegistryKey& key, const std::string& name);
Names value_names(ARegistryKey& key);
Names child_names(ARegistryKey& key);
int set_text(ARegistryKey& key, const std::string& name, const std::string& text);

/// A registry file in a folder of its own.
class RegistryTest : public testing::Test {
 protected:
  RegistryTest() = default;

  void write(const std::string& content) const { write_file(path, content); }
  std::string content() const { return read_file(path); }
  bool temporary_exists() const { return std::filesystem::exists(path + "~"); }

  TempFolder folder;
  const std::string path = folder.file("registry");
};

/// Runs `work` in another process, which ends with its result.
class OtherProcess {
 public:
  explicit OtherProcess(const std::function<int()>& work);
  ~OtherProcess();

  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  /// Waits for the end and gives the result; -1 when the process was killed.
  int result();

 private:
  pid_t pid_;
};

/// Runs `work` in another process from start to end.
inline int in_other_process(const std::function<int()>& work) {
  return OtherProcess(work).result();
}

/// Whether another process could lock the file exclusively (or else shared) right now.
bool others_can_lock(const std::string& path, short type);

/// One process waits here until another opens it.
class Gate {
 public:
  Gate();
  ~Gate();

  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void open() const;
  void pass() const;

 private:
  int ends_[2]{-1, -1};
};

/// Another process that is there already and waits to be run, as any process that a hook meets: one that was
/// forked within an operation would begin in the middle of it.
class WaitingProcess {
 public:
  explicit WaitingProcess(const std::function<int()>& work);

  /// Runs it to its end; its result.
  int run();

 private:
  Gate start_;
  OtherProcess process_;
};

}  // namespace tavtest

#endif
