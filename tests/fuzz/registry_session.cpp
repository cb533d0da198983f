#include "fuzz/registry_session.h"

#include <tavlib/registry/registry.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <functional>

#include "fuzz/files_in_memory.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/registry_text.h"
#include "support/temp_folder.h"

namespace tavtest {
namespace {

constexpr ErrorNumber kNoEntry = 2;
constexpr ErrorNumber kTooLarge = 79;
constexpr unsigned kNumber = 4;

const std::string& file_path() {
  static const TempFolder folder = [] {
    keep_files_in_memory();
    return TempFolder();
  }();
  static const std::string path = folder.file("registry");
  return path;
}

/// A block of `size` bytes, which a sanitizer watches to its end.
template <typename Element>
std::unique_ptr<Element[]> block(std::size_t size) {
  return std::make_unique<Element[]>(size);
}

using AskName = std::function<int(char* buffer, unsigned* size)>;

/// The name that `ask` gives, asked for as a host does. `tells_need` is whether a buffer that is too small is
/// answered with the room needed.
void check_name(const AskName& ask, const std::string& expected, bool tells_need) {
  const auto room = static_cast<unsigned>(expected.size() + 1);
  unsigned size = 0;
  expect(ask(nullptr, &size) == 1 && size == room, "the room for a name");
  const auto name = block<char>(room);
  size = room - 1;
  errno = 0;
  expect(ask(name.get(), &size) == 0 && errno == kTooLarge, "a name that does not fit");
  expect(size == (tells_need ? room : room - 1), "the size after a name that does not fit");
  size = room;
  expect(ask(name.get(), &size) == 1 && size == room && name.get() == expected, "a name");
}

void check_end(const AskName& ask) {
  unsigned size = 0;
  errno = 0;
  expect(ask(nullptr, &size) == 0 && errno == kNoEntry, "the end of the names");
}

void check_result(int result, ErrorNumber expected) {
  expect(result == (expected == 0 ? 1 : 0), "the result");
  expect(expected == 0 || static_cast<ErrorNumber>(errno) == expected, "the error number");
}

void check_value(ARegistry& handle, const ModelValue& value) {
  const char* name = value.name.c_str();
  const auto full = static_cast<unsigned>(value.bytes.size());
  unsigned type = 77;
  unsigned size = 77;
  expect(handle.QueryValue(name, &type, &size, nullptr) == 1 && type == value.type && size == full,
         "the type and size of a value");
  const auto bytes = block<unsigned char>(full);
  expect(handle.QueryValue(name, nullptr, &size, bytes.get()) == 1 && size == full, "a value");
  expect(std::equal(value.bytes.begin(), value.bytes.end(), bytes.get(),
                    [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }),
         "the bytes of a value");
  if (full == 0) return;
  size = full - 1;
  errno = 0;
  expect(handle.QueryValue(name, nullptr, &size, bytes.get()) == 0 && errno == kTooLarge && size == full,
         "a value that does not fit");
}

/// Looking up one of many takes a walk over all of them, so of very many only the first and the last are
/// looked at.
bool is_looked_at(std::size_t index, std::size_t count) {
  constexpr std::size_t kAtEachEnd = 40;
  return index < kAtEachEnd || count - index <= kAtEachEnd;
}

void check_children(ARegistry& handle, const ModelKey& key) {
  unsigned index = 0;
  const AskName ask = [&](char* name, unsigned* size) { return handle.EnumKey(index, name, size); };
  const std::vector<std::string> children = key.children();
  for (; index < children.size(); ++index) {
    if (is_looked_at(index, children.size())) check_name(ask, children[index], true);
  }
  check_end(ask);
}

void check_values(ARegistry& handle, const ModelKey& key) {
  unsigned index = 0;
  const AskName ask = [&](char* name, unsigned* size) { return handle.EnumValue(index, name, size); };
  const std::vector<ModelValue>& values = key.values();
  for (; index < values.size(); ++index) {
    if (!is_looked_at(index, values.size())) continue;
    check_name(ask, values[index].name, false);
    check_value(handle, values[index]);
  }
  check_end(ask);
}

void check_key(ARegistry& handle, const ModelKey& key) {
  check_children(handle, key);
  check_values(handle, key);
}

/// The facade reads the values of the key `path` as texts and numbers.
void check_facade(ARegistryKey* root, std::string content, const std::string& path) {
  bool created = false;
  ErrorNumber expected = 0;
  const auto key = ModelKey::open(content, "", path, false, 0, created, expected);
  Registry facade(root);
  errno = 0;
  check_result(facade.Open(path, 0), expected);
  if (!key) return;
  const std::vector<ModelValue>& values = key->values();
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (!is_looked_at(i, values.size())) continue;
    const ModelValue& value = values[i];
    const char* name = value.name.c_str();
    std::string text;
    unsigned number = 0;
    expect(facade.QueryValue(name, text) == 1, "a value as a text");
    expect(text == value.bytes.substr(0, value.bytes.find('\0')), "the text of a value");
    expect(facade.QueryValue(name, number) == 1, "a value as a number");
    if (value.type == kNumber)
      expect(std::memcmp(&number, value.bytes.data(), sizeof number) == 0, "the number of a value");
  }
}

}  // namespace

RegistrySession::RegistrySession(const std::string& content) : content_(content) {
  write_file(file_path(), content);
  root_.reset(ARegKeyFile(file_path().c_str()));
}

void RegistrySession::open(const std::string& path, bool create, unsigned access, bool below_open_key) {
  const bool below = below_open_key && key_;
  bool created = false;
  ErrorNumber expected = 0;
  key_ = ModelKey::open(content_, below ? key_->name() : "", path, create, access, created, expected);

  ARegistryKey* root = below ? handle_.GetKey() : root_.get();
  unsigned disposition = 77;
  errno = 0;
  const int result = handle_.Open(root, path.c_str(), create ? 1 : 0, &disposition, access);
  check_result(result, expected);
  expect(disposition == (expected != 0 ? 77U : created ? 0U : 1U), "the disposition");
  expect((handle_.GetKey() != nullptr) == key_.has_value(), "whether the handle is open");
  check_file();
  if (key_) check_key(handle_, *key_);
}

void RegistrySession::close() {
  expect(handle_.Close() == 1, "closing gives 1");
  key_.reset();
}

void RegistrySession::set_value(const ModelValue& value) {
  if (!key_) return;
  const ErrorNumber expected = key_->set_value(value);
  const std::vector<unsigned char> exact(value.bytes.begin(), value.bytes.end());
  errno = 0;
  check_result(
      handle_.SetValue(value.name.c_str(), value.type, static_cast<unsigned>(exact.size()), exact.data()),
      expected);
  check_file();
  check_key(handle_, *key_);
  if (expected == 0) check_read_back();
}

void RegistrySession::delete_value(const std::string& name) {
  if (!key_) return;
  const ErrorNumber expected = key_->delete_value(name);
  errno = 0;
  check_result(handle_.DeleteValue(name.c_str()), expected);
  check_file();
  check_key(handle_, *key_);
  if (expected == 0) check_read_back();
}

void RegistrySession::delete_key(const std::string& name) {
  if (!key_) return;
  const ErrorNumber expected = key_->delete_key(name);
  errno = 0;
  check_result(handle_.DeleteKey(name.c_str()), expected);
  check_file();
  check_key(handle_, *key_);
}

void RegistrySession::find_value(const std::string& name) {
  if (!key_) return;
  if (const ModelValue* value = key_->find(name))
    return check_value(handle_, {name, value->type, value->bytes});
  unsigned size = 77;
  errno = 0;
  expect(handle_.QueryValue(name.c_str(), nullptr, &size, nullptr) == 0 && errno == kNoEntry && size == 77,
         "a value that is not there");
}

void RegistrySession::check_file() const {
  expect(read_file(file_path()) == content_, "the bytes of the file");
  expect(access((file_path() + "~").c_str(), F_OK) != 0, "the temporary file is gone");
}

/// A new handle finds in the file what the open key holds, wherever the format can hold that.
void RegistrySession::check_read_back() const {
  check_facade(root_.get(), content_, key_->name());
  if (!key_->is_holdable()) return;
  ARegistry again;
  expect(again.Open(root_.get(), key_->name().c_str(), 0, nullptr, 0) == 1, "a written key opens");
  check_values(again, *key_);
}

}  // namespace tavtest
