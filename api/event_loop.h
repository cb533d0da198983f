#ifndef TAVLIB_EVENT_LOOP_H
#define TAVLIB_EVENT_LOOP_H

#include <tavlib/api/sso.h>

// The functions of the host's event loop. The library's own references are weak: a host without an event loop
// can load the library, and the names are then null.

#pragma weak T_event_set_socket
#pragma weak T_event_del_socket

#endif
