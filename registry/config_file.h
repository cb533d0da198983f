#ifndef TAVLIB_REGISTRY_CONFIG_FILE_H
#define TAVLIB_REGISTRY_CONFIG_FILE_H

namespace tavlib {

/// Path of the registry file that holds the library's configuration, chosen when the library is built.
extern const char* const kConfigFile;

}  // namespace tavlib

#endif
