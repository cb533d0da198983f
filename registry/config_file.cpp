#include "registry/config_file.h"

namespace tavlib {

const char* const kConfigFile = TAVLIB_CONFIG_FILE;

}  // namespace tavlib
