#ifndef TAVLIB_EVENT_LOOP_H
#define TAVLIB_EVENT_LOOP_H

#include <tavlib/api/sso.h>

// The host's event loop. The library's own references are weak, so that a host without one can load the
// library: the names are then null.

#pragma weak T_event_set_socket
#pragma weak T_event_del_socket

#endif
