#ifndef TAVLIB_SSO_STATE_H
#define TAVLIB_SSO_STATE_H

#include <tavlib/protocol/entry.h>

#include <cstdint>

/// The single-sign-on layer's process-wide state, all zero when the library is loaded.
extern std::uint32_t g_SsoReady;   ///< 1 between a successful SSO_Init and SSO_Exit.
extern unsigned long g_SsoServer;  ///< The gateway's address, network byte order; 0 when none was read.
extern _TAVENTRYA g_SsoEntry;      ///< Filter and answer of the blocking look-up.

namespace tavlib {

/// Reads the gateway server's address and registers its socket with the host's event loop. 1, or 0 with last
/// error TAV_E_CONFIG. Throws std::bad_alloc.
int SSO_Configure();

/// The mask of a look-up's query: the entry's address must match, and the look-up's own option is set.
inline constexpr unsigned kLookupMask = 0x10010;

/// Copies an answer's texts into the caller's buffers, as strncpy does. Null buffers are skipped.
void copy_answer(const _TAVENTRYA& entry, char* user, unsigned userLength, char* second,
                 unsigned secondLength);

/// Makes a buffer an empty text. A null buffer and one of length 0 stay as they are.
void clear_text(char* buffer, unsigned length);

}  // namespace tavlib

#endif
