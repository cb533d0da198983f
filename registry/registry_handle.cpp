#include "platform/quiet_memory.h"
#include "registry/failure.h"
#include "registry/registry_roots.h"

#include <tavlib/registry/registry_handle.h>

using tavlib::fail;

ARegistry::ARegistry() = default;

// Hosts may read the error of a call on the handle when the handle is gone.
ARegistry::~ARegistry() {
  const tavlib::KeepError keep;
  key.reset();
}

int ARegistry::Open(ARegistryKey* root, const char* path, int create, unsigned* disposition,
                    unsigned access) {
  // The open key is closed, but may be the root of the new one: it is destroyed only after the copy is made.
  tavlib::QuietPtr<ARegistryKey> previous(key.release());
  const ARegistryKey* base = tavlib::resolve_root(root);
  if (base == nullptr) return fail(tavlib::kBadAddress);
  tavlib::QuietPtr<ARegistryKey> opened(new ARegistryKey(*base));
  previous.reset();
  int created = 0;
  if (opened->LoadKey(path, create, access, &created) == 0) return 0;
  key.reset(opened.release());
  if (disposition != nullptr) *disposition = created == 0 ? 1 : 0;
  return 1;
}

int ARegistry::Close() {
  key.reset();
  return 1;
}

int ARegistry::EnumKey(unsigned index, char* name, unsigned* size) {
  return key ? key->EnumKey(index, name, size) : fail(tavlib::kBadAddress);
}

int ARegistry::EnumValue(unsigned index, char* name, unsigned* size) {
  return key ? key->EnumValue(index, name, size) : fail(tavlib::kBadAddress);
}

int ARegistry::QueryValue(const char* name, unsigned* type, unsigned* size, unsigned char* data) {
  return key ? key->FindValue(name, type, size, data) : fail(tavlib::kBadAddress);
}

int ARegistry::SetValue(const char* name, unsigned type, unsigned size, const unsigned char* data) {
  return key ? key->SetValue(name, type, size, data) : fail(tavlib::kBadAddress);
}

int ARegistry::DeleteValue(const char* name) {
  return key ? key->DeleteValue(name) : fail(tavlib::kBadAddress);
}

int ARegistry::DeleteKey(const char* name) {
  return key ? key->DeleteKey(name) : fail(tavlib::kBadAddress);
}

ARegistryKey* ARegistry::GetKey() const {
  return key.get();
}
