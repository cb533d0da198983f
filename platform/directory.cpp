#include <fnmatch.h>
#include <tavlib/platform/directory.h>
#include <tavlib/platform/error_state.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "platform/error_codes.h"
#include "platform/keep_error.h"

namespace {

constexpr std::size_t kLongestPattern = 1023;

struct Free {
  void operator()(char* block) const {
    const tavlib::KeepError keep;
    std::free(block);
  }
};
using Text = std::unique_ptr<char, Free>;

int fail(unsigned code) {
  SetRtlError(code);
  return 0;
}

// Writes `directory` with a "/" at its end to `path`; false when it does not fit.
bool store_path(char* path, std::size_t capacity, const char* directory) {
  const std::size_t length = std::strlen(directory);
  const bool complete = length != 0 && directory[length - 1] == '/';
  if (length + (complete ? 1 : 2) > capacity) return false;
  std::memcpy(path, directory, length + 1);
  if (!complete) std::memcpy(path + length, "/", 2);
  return true;
}

}  // namespace

ADirectory::ADirectory() = default;

ADirectory::ADirectory(const char* directory, const char* wildcard) {
  Open(directory, wildcard);
}

ADirectory::~ADirectory() {
  if (handle != nullptr) Close();
}

int ADirectory::Open(const char* directory, const char* wildcard) {
  // Copied before the open listing is closed: an argument may be a part of this very object.
  Text directory_copy(directory == nullptr ? nullptr : strdup(directory));
  Text pattern_copy(wildcard == nullptr ? nullptr : strdup(wildcard));
  Close();
  if (directory == nullptr || wildcard == nullptr) return fail(tavlib::kBadAddress);
  if (!directory_copy || !pattern_copy) return fail(tavlib::kOutOfMemory);
  if (std::strlen(pattern_copy.get()) > kLongestPattern) return fail(tavlib::kNameTooLong);
  if (!store_path(path, sizeof path, directory_copy.get())) return fail(tavlib::kNameTooLong);
  handle = opendir(directory_copy.get());
  if (handle == nullptr) return 0;
  pattern = pattern_copy.release();
  return 1;
}

int ADirectory::Close() {
  if (handle != nullptr) closedir(handle);
  handle = nullptr;
  std::free(pattern);
  pattern = nullptr;
  return 1;
}

int ADirectory::GetNext(char* name) {
  if (handle == nullptr) return 0;
  while (const dirent* entry = readdir(handle)) {
    if (fnmatch(pattern, entry->d_name, 0) != 0) continue;
    std::memcpy(name, entry->d_name, std::strlen(entry->d_name) + 1);
    return 1;
  }
  return 0;
}

void ADirectory::GetFull(char* result, const char* name) {
  const std::size_t length = std::strlen(path);
  std::memcpy(result, path, length);
  std::memcpy(result + length, name, std::strlen(name) + 1);
}

int ADirectory::IsValid() {
  return handle != nullptr ? 1 : 0;
}
