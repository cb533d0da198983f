#ifndef TAVLIB_REGISTRY_OWNERS_H
#define TAVLIB_REGISTRY_OWNERS_H

#include <tavlib/registry/registry_key.h>

namespace tavlib {

/// The types in which a key owns a stream, and a text from malloc.
using Stream = std::unique_ptr<std::FILE, ARegistryKey::CloseStream>;
using TextBlock = std::unique_ptr<char, ARegistryKey::FreeText>;

}  // namespace tavlib

#endif
