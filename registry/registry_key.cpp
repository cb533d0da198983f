#include "registry/blocks.h"
#include "registry/failure.h"
#include "registry/operation.h"
#include "registry/owners.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

using tavlib::fail;

namespace {

bool exists(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0;
}

// Whether `entry` repeats the child that `previous` names.
bool repeats(const char* entry, const char* previous) {
  if (previous == nullptr) return false;
  const std::size_t length = std::strlen(previous);
  if (strncasecmp(entry, previous, length) != 0) return false;
  return entry[length] == '\0' || entry[length] == '\\';
}

// The first section of the `index`-th child; null past the end.
const char* find_child(ARegistryKeyList& subkeys, unsigned index) {
  const char* previous = nullptr;
  unsigned given = 0;
  unsigned position = 0;
  const char* entry = subkeys.Enum(position);
  while (entry != nullptr && (repeats(entry, previous) || given++ != index)) {
    previous = entry;
    entry = subkeys.Enum(++position);
  }
  return entry;
}

// A copy of a key's name that ends with a backslash; null when memory runs out.
tavlib::TextBlock with_backslash(const char* name) {
  const std::size_t length = std::strlen(name);
  tavlib::TextBlock copy(static_cast<char*>(std::malloc(length + 2)));
  if (!copy) return copy;
  std::memcpy(copy.get(), name, length + 1);
  if (length == 0 || name[length - 1] != '\\') std::memcpy(copy.get() + length, "\\", 2);
  return copy;
}

}  // namespace

// Defined here and not in the header: only the library has the virtual table and the type information.
ARegistryException::~ARegistryException() = default;

ARegistryKey::ARegistryKey(const char* filePath) {
  if (filePath == nullptr) {
    fail(tavlib::kBadAddress);
    return;
  }
  const std::size_t length = std::strlen(filePath);
  if (length >= sizeof path - 1) {
    fail(tavlib::kNameTooLong);
    return;
  }
  std::memcpy(path, filePath, length + 1);
  const tavlib::Operation operation;
  // Not truncated: another process may meanwhile have created and filled it. The descriptor stays open, as
  // hosts expect.
  if (!exists(path)) open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
}

ARegistryKey::ARegistryKey(const ARegistryKey& other)
    : keyName(other.keyName ? tavlib::copy_text(other.keyName.get()) : nullptr) {
  std::memcpy(path, other.path, sizeof path);
}

ARegistryKey::~ARegistryKey() {
  if (!file) return;
  const tavlib::Operation operation;
  file.reset();
}

int ARegistryKey::EnumKey(unsigned index, char* buffer, unsigned* size) {
  if (size == nullptr) return fail(tavlib::kBadAddress);
  const char* child = subkeys ? find_child(*subkeys, index) : nullptr;
  if (child == nullptr) return fail(tavlib::kNoSuchEntry);
  const std::size_t length = std::strcspn(child, "\\");
  const unsigned needed = static_cast<unsigned>(length) + 1;
  if (buffer == nullptr) {
    *size = needed;
    return 1;
  }
  if (*size < needed) {
    *size = needed;
    return fail(tavlib::kTooLarge);
  }
  std::memcpy(buffer, child, length);
  buffer[length] = '\0';
  return 1;
}

int ARegistryKey::FindValue(const char* name, unsigned* type, unsigned* size, unsigned char* data) {
  if (name == nullptr) return fail(tavlib::kBadAddress);
  const ARegistryData::Entry* value = values ? values->GetData(name) : nullptr;
  if (value == nullptr) return fail(tavlib::kNoSuchEntry);
  if (type != nullptr) *type = value->type;
  if (data != nullptr && size == nullptr) return fail(tavlib::kBadAddress);
  const bool fits = data == nullptr || *size >= value->size;
  if (size != nullptr) *size = value->size;
  if (!fits) return fail(tavlib::kTooLarge);
  if (data != nullptr && value->size != 0) std::memcpy(data, value->data, value->size);
  return 1;
}

int ARegistryKey::EnumValue(unsigned index, char* name, unsigned* size) {
  if (size == nullptr) return fail(tavlib::kBadAddress);
  const ARegistryData::Entry* value = values ? values->EnumData(index) : nullptr;
  if (value == nullptr) return fail(tavlib::kNoSuchEntry);
  const std::size_t needed = std::strlen(value->name) + 1;
  if (name == nullptr) {
    *size = static_cast<unsigned>(needed);
    return 1;
  }
  if (*size < needed) return fail(tavlib::kTooLarge);
  std::memcpy(name, value->name, needed);
  return 1;
}

int ARegistryKey::SetValue(const char* name, unsigned type, unsigned size, const unsigned char* data) {
  if (!keyName || *keyName == '\0') return fail(tavlib::kInvalidArgument);
  if ((access & REGISTRY_ACCESS_WRITE) == 0) return fail(tavlib::kAccessDenied);
  if (name == nullptr) return fail(tavlib::kBadAddress);
  if (!values) return fail(tavlib::kNoSuchEntry);
  if (data == nullptr) size = 0;
  ARegistryData::Entry entry;
  entry.name = tavlib::try_copy_text(name);
  entry.type = type;
  entry.data = static_cast<unsigned char*>(tavlib::try_copy_block(data, size));
  entry.size = size;
  if (entry.name == nullptr || entry.data == nullptr) {
    std::free(entry.name);
    std::free(entry.data);
    return fail(tavlib::kOutOfMemory);
  }
  return values->EnterData(entry) != 0 ? Commit(nullptr) : 0;
}

int ARegistryKey::DeleteValue(const char* name) {
  if (!values) return fail(tavlib::kNoSuchEntry);
  return values->DeleteData(name) != 0 ? Commit(nullptr) : 0;
}

int ARegistryKey::DeleteKey(const char* name) {
  if ((access & REGISTRY_ACCESS_WRITE) == 0) return fail(tavlib::kAccessDenied);
  if (name == nullptr) return fail(tavlib::kBadAddress);
  if (!subkeys) return fail(tavlib::kNoSuchEntry);
  const tavlib::TextBlock child = with_backslash(name);
  if (!child) return fail(tavlib::kOutOfMemory);
  return subkeys->Delete(child.get()) != 0 ? Commit(child.get()) : 0;
}
