#ifndef TAVLIB_REGISTRY_OWNERS_H
#define TAVLIB_REGISTRY_OWNERS_H

#include <tavlib/registry/registry_key.h>

namespace tavlib {

/// A stream, and a text from malloc, as a key owns them.
using Stream = std::unique_ptr<std::FILE, ARegistryKey::CloseStream>;
using TextBlock = std::unique_ptr<char, ARegistryKey::FreeText>;

}  // namespace tavlib

#endif
