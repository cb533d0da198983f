#ifndef TAVLIB_EXPORT_H
#define TAVLIB_EXPORT_H

// What every public header needs to be usable from C and from C++.

/// Marks a name that the shared library exports; everything else stays hidden in it.
#define TAVLIB_API __attribute__((visibility("default")))

/// Keeps a member of an exported class that is for the library's own use out of the exported names.
#define TAVLIB_HIDDEN __attribute__((visibility("hidden")))

/// Open and close a block of functions with C linkage.
#ifdef __cplusplus
#define TAVLIB_BEGIN_C extern "C" {
#define TAVLIB_END_C }
#else
#define TAVLIB_BEGIN_C
#define TAVLIB_END_C
#endif

/// A required parameter: a reference in C++, a pointer (never null) in C.
#ifdef __cplusplus
#define TAVLIB_REF(T) T&
#else
#define TAVLIB_REF(T) T*
#endif

#endif
