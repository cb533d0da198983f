#ifndef TAVLIB_REGISTRY_REGISTRY_ROOTS_H
#define TAVLIB_REGISTRY_REGISTRY_ROOTS_H

#include <tavlib/registry/registry_key.h>

namespace tavlib {

/// The key for a root: that of a predefined root, which exists until the process ends, or `root` itself.
/// Throws std::bad_alloc when memory runs out.
ARegistryKey* resolve_root(ARegistryKey* root);

}  // namespace tavlib

#endif
