#ifndef TAVLIB_PLATFORM_WIDE_STRINGS_H
#define TAVLIB_PLATFORM_WIDE_STRINGS_H

#include <tavlib/export.h>
#include <wchar.h>

// A copy of `text` in a new heap block, which the caller frees with free(). Null for a null `text`, and when
// memory runs out.
//
// The system's header already declares the function for C++ hosts. A strict C11 host finds it here.
#ifndef __cplusplus
TAVLIB_API wchar_t* wcsdup(const wchar_t* text);
#endif

#endif
