// A part of a host that is loaded and unloaded while the host runs, and uses the library by itself.
#include "packaging/plugin.h"

#include <tavlib/tavlib.h>

int plugin_registry() {
  ARegistry handle;
  return handle.Open(REGISTRY_ROOT_USER, "plugin\\settings", 1, nullptr, 3);
}

int plugin_start() {
  return TAVInitialize();
}

unsigned plugin_last_error(unsigned code) {
  TAVSetLastError(code);
  return TAVGetLastError();
}

void plugin_end() {
  TAVExit();
}
