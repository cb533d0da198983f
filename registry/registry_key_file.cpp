#include <tavlib/registry/registry_key.h>

ARegistryKey* ARegKeyFile(const char* path) {
  return new ARegistryKey(path);
}

int ARegKeyFileClose(ARegistryKey* key) {
  delete key;
  return 1;
}
