#ifndef TAVLIB_EVENT_LOOP_H
#define TAVLIB_EVENT_LOOP_H

// The host's event loop. Weak, so that a host without one can load the library: the names are then null.

extern "C" {

__attribute__((weak)) int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument);
__attribute__((weak)) int T_event_del_socket(int socket);
}

#endif
