#include "registry/failure.h"
#include "registry/owners.h"

#include <tavlib/registry/registry.h>

#include <cstdlib>
#include <new>

using tavlib::fail;

namespace {

// A terminated copy of a value's `size` bytes. Null with the run-time error set.
tavlib::TextBlock read_text(ARegistry& handle, const char* name, unsigned size) {
  tavlib::TextBlock text(static_cast<char*>(std::calloc(std::size_t{size} + 1, 1)));
  if (!text) {
    fail(tavlib::kOutOfMemory);
    return text;
  }
  if (handle.QueryValue(name, nullptr, &size, reinterpret_cast<unsigned char*>(text.get())) == 0)
    text.reset();
  return text;
}

bool try_assign(std::string& target, const char* text) {
  try {
    target = text;
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// The error is set once the exception's memory has been freed.
int assign(std::string& target, const char* text) {
  return try_assign(target, text) ? 1 : fail(tavlib::kOutOfMemory);
}

}  // namespace

Registry::Registry(ARegistryKey* rootKey) : root(rootKey) {}

Registry::~Registry() = default;

int Registry::Open(const char* path, unsigned access) {
  current = nullptr;
  if (handle.Open(root, path, 0, nullptr, access) == 0) return 0;
  current = handle.GetKey();
  return 1;
}

int Registry::Open(const std::string& path, unsigned access) {
  return Open(path.c_str(), access);
}

int Registry::Create(const char* path, unsigned /*access*/) {
  current = nullptr;
  if (handle.Open(root, path, 1, nullptr, 3) == 0) return 0;
  current = handle.GetKey();
  return 1;
}

void Registry::Close() {
  handle.Close();
  current = nullptr;
}

int Registry::QueryValue(const char* name, unsigned& value) {
  unsigned type = 0;
  unsigned size = 0;
  if (handle.QueryValue(name, &type, &size, nullptr) == 0) return 0;
  if (type == REG_DWORD) {
    unsigned number = 0;
    size = sizeof number;
    if (handle.QueryValue(name, nullptr, &size, reinterpret_cast<unsigned char*>(&number)) == 0) return 0;
    value = number;
    return 1;
  }
  const tavlib::TextBlock text = read_text(handle, name, size);
  if (!text) return 0;
  value = static_cast<unsigned>(std::strtoll(text.get(), nullptr, 10));
  return 1;
}

int Registry::QueryValue(const char* name, std::string& value) {
  unsigned size = 0;
  if (handle.QueryValue(name, nullptr, &size, nullptr) == 0) return 0;
  const tavlib::TextBlock text = read_text(handle, name, size);
  return text ? assign(value, text.get()) : 0;
}

int Registry::SetValue(const char* name, const std::string& value) {
  const auto size = static_cast<unsigned>(value.size() + 1);
  return handle.SetValue(name, REG_SZ, size, reinterpret_cast<const unsigned char*>(value.c_str()));
}

int Registry::EnumKey(unsigned index, std::string& name) {
  unsigned size = 0;
  if (handle.EnumKey(index, nullptr, &size) == 0) return 0;
  const tavlib::TextBlock text(static_cast<char*>(std::malloc(size)));
  if (!text) return fail(tavlib::kOutOfMemory);
  return handle.EnumKey(index, text.get(), &size) != 0 ? assign(name, text.get()) : 0;
}

// Deleting is not offered here.
// NOLINTBEGIN(readability-convert-member-functions-to-static): hosts call members.

int Registry::DeleteKey(const char* /*name*/) {
  return 0;
}

int Registry::DeleteValue(const char* /*name*/) {
  return 0;
}

ARegistryKey* Registry::GetKey() const {
  return current;
}

// NOLINTEND(readability-convert-member-functions-to-static)
