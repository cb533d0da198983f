#ifndef TAVLIB_ERROR_NUMBERS_H
#define TAVLIB_ERROR_NUMBERS_H

/// Status codes of requests and last errors of the exported functions.
///
/// One numbering serves both. 0 is success. The numbers are part of the interface.
///
/// These are not `errno` numbers: the record routines and the configuration store report those (see
/// tavlib/platform/error_state.h).
enum {
  TAV_E_SERVERERROR = 2,     ///< The server answered with its error flag.
  TAV_E_CONFIG = 3,          ///< Configuration missing or unusable.
  TAV_E_ABANDONED = 4,       ///< A wait ended without an answer; the request was abandoned.
  TAV_E_NOMORE = 6,          ///< No further server or entry.
  TAV_E_NOTINITIALISED = 7,  ///< Called before TAVInitialize or after the last TAVExit.
  TAV_E_NOMEMORY = 9,        ///< Out of memory, or a text that the locale cannot convert.
  TAV_E_TOOBIG = 10,         ///< A packet would exceed 4096 bytes.
  TAV_E_UNKNOWNSERVER = 11,  ///< No configured server has the address, or an entry does not fit a request.
  TAV_E_SENDFAILED = 12,     ///< Not sent; `errno` has the reason, unless the server has no socket.
  TAV_E_BADPACKET = 13,      ///< A reply's digest is wrong, or an enciphered length is.
  TAV_E_PENDING = 14,        ///< Sent and not yet answered; not a failure.
  TAV_E_BUSY = 15,           ///< The enumeration's previous step is still outstanding.
  TAV_E_CANCELLED = 17       ///< The caller abandoned the request, or there is none.
};

#endif
