#include "event_loop_host.h"
