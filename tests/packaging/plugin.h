#ifndef TAVLIB_TESTS_PACKAGING_PLUGIN_H
#define TAVLIB_TESTS_PACKAGING_PLUGIN_H

#define PLUGIN_FUNCTION extern "C" __attribute__((visibility("default")))

/// Opens a key below the user's root, whose own key the library keeps for good, and closes it: 1 when that
/// worked.
PLUGIN_FUNCTION int plugin_registry();

/// TAVInitialize and TAVExit.
PLUGIN_FUNCTION int plugin_start();
PLUGIN_FUNCTION void plugin_end();

/// Sets the calling thread's last error and gives what is read then.
PLUGIN_FUNCTION unsigned plugin_last_error(unsigned code);

#endif
