#ifndef TAVLIB_TAVLIB_H
#define TAVLIB_TAVLIB_H

// All public declarations. A C host gets the functions, records and error numbers; a C++ host the classes,
// too.

#include <tavlib/api/async.h>
#include <tavlib/api/last_error.h>
#include <tavlib/api/lifecycle.h>
#include <tavlib/api/query.h>
#include <tavlib/api/sso.h>
#include <tavlib/error_numbers.h>
#include <tavlib/platform/critical_section.h>
#include <tavlib/platform/directory.h>
#include <tavlib/platform/error_state.h>
#include <tavlib/platform/interlocked.h>
#include <tavlib/platform/thread_local_slot.h>
#include <tavlib/platform/tick_count.h>
#include <tavlib/platform/wide_strings.h>
#include <tavlib/protocol/blowfish.h>
#include <tavlib/protocol/digest.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/protocol/packet.h>
#include <tavlib/protocol/server_interface.h>
#include <tavlib/registry/file_locker.h>
#include <tavlib/registry/registry.h>
#include <tavlib/registry/registry_data.h>
#include <tavlib/registry/registry_handle.h>
#include <tavlib/registry/registry_key.h>
#include <tavlib/registry/registry_key_list.h>
#include <tavlib/servers/query_enum.h>
#include <tavlib/servers/server_list.h>
#include <tavlib/servers/tav_server_interface.h>

#endif
