#include "record_layouts.h"
