#ifndef TAVLIB_REGISTRY_REGISTRY_ROOTS_H
#define TAVLIB_REGISTRY_REGISTRY_ROOTS_H

#include <tavlib/registry/registry_key.h>

namespace tavlib {

/// The key that a root stands for: that of a predefined root, which lives until the process ends, or `root`
/// itself. Throws std::bad_alloc when memory runs out.
ARegistryKey* resolve_root(ARegistryKey* root);

}  // namespace tavlib

#endif
