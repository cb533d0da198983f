#ifndef TAVLIB_API_SSO_H
#define TAVLIB_API_SSO_H

// Single sign-on: which user is at this address? A layer for gateways over one TAV server, the gateway's own,
// whose address is the value "gwtav" of the key "tavlib\Addresses" in the configuration file.
//
// The host may define T_event_set_socket and T_event_del_socket, through which the layer puts the server's
// socket into the host's event loop. Everything here belongs to the event loop's thread.

#include <tavlib/export.h>

#ifdef __cplusplus

#include <stdint.h>
#include <tavlib/api/async.h>
#include <tavlib/protocol/entry.h>

class TAVQueryEnum;

#endif

TAVLIB_BEGIN_C

/// The two functions of a host that has an event loop. The library looks for them when it is loaded. Without
/// them asynchronous look-ups end only when a blocking one reads their answer, by SSO_ExpireLookups and by
/// SSO_Exit.
///
/// T_event_set_socket adds a socket to the loop. Whenever that is readable, the loop calls `ready` with a
/// number of its own, which comes back as the result, and with `argument`. T_event_del_socket removes it
/// again. Their results are ignored. What they throw leaves SSO_Init or SSO_Exit, and the library then stays
/// initialised.
///
/// After these declarations a definition outside every namespace has C linkage and default visibility,
/// whatever the compiler's flags say. In C++ write extern "C" all the same: only then is a definition with
/// other parameter types an error. Without it that is another function, and the library finds none.
__attribute__((visibility("default"))) int T_event_set_socket(int socket, int (*ready)(int, void*),
                                                              void* argument);
__attribute__((visibility("default"))) int T_event_del_socket(int socket);

/// Called once when a look-up has ended: `success` is 1 when it ran (a user, or none at the address), 0 when
/// it failed, with the reason in the last error. It is called from the socket's `ready`, from
/// SSO_GetUserByAddr and from SSO_ExpireLookups; when the look-up cannot be started, from
/// SSO_GetUserByAddrAsync itself.
///
/// The stack does not grow with the look-ups in flight: when a callback looks up, waiting, or expires others,
/// the callbacks of the look-ups that end by that come once it has returned. Only a callback that runs the
/// loop, or starts a look-up that fails at once, has others called within it.
typedef void (*SSO_Callback)(int success, void* cookie);

/// Initialises the library and registers the gateway server's socket with the host's event loop. The product
/// string "Norvel TAV/TIZ", or null with the reason as last error: that of TAVInitialize, or TAV_E_CONFIG
/// when the configuration names no gateway server; in this case the library stays initialised. In C++, what
/// TAVInitialize throws may leave it, and std::bad_alloc, after which the library stays initialised, too.
TAVLIB_API const char* SSO_Init(void);

/// Undoes a successful SSO_Init: unregisters the socket and calls TAVExit. Asynchronous look-ups still in
/// flight end without their callback.
TAVLIB_API void SSO_Exit(void);

/// TAVGetLastError.
TAVLIB_API unsigned SSO_GetLastError(void);

/// Looks the user at `address` (as entries carry it) up and waits for the answer. 1 when the look-up ran:
/// `user` receives the user's name and `second` the entry's third text, both empty when nobody is there. 0 on
/// failure, with the last error: TAV_E_NOTINITIALISED before an SSO_Init that found a gateway address, and none
/// set when that address is known but the layer is down.
///
/// Lengths are in bytes. A text of the buffer's length or longer fills it without a terminating zero. Give
/// both buffers, or length 0 for one that is not wanted: when the server answers with an entry that says that
/// nobody is there (`word12` not 0), both are written to without a look at the pointers. A buffer of length 0
/// is never written. Asynchronous look-ups that were answered meanwhile end before this returns, or after
/// the callback in which it was called. In C++, std::bad_alloc leaves it when there is no memory for the
/// request.
TAVLIB_API int SSO_GetUserByAddr(unsigned long address, char* user, unsigned userLength, char* second,
                                 unsigned secondLength);

/// Starts a look-up and returns; `callback` is called when it has ended, a null one not at all. Until then
/// the buffers, either of which may be null, must last. Texts as above.
TAVLIB_API void SSO_GetUserByAddrAsync(unsigned long address, char* user, unsigned userLength, char* second,
                                       unsigned secondLength, SSO_Callback callback, void* cookie);

/// Ends every asynchronous look-up that was started more than `milliseconds` ago and is not answered yet, the
/// oldest first, those of hosts' own SSO_TAVContexts included: its callback is called with 0 and
/// TAV_E_ABANDONED, and a late answer is dropped. Returns how many it ended; 0 with TAV_E_NOTINITIALISED when
/// the library is not initialised. Look-ups whose answer was read by another call end with that answer and
/// are not counted: of the gateway's server all, of one that was the gateway's before those that are as old.
/// Look-ups that a callback starts are left alone. Ages are measured by a clock that setting the system time
/// does not move. An addition of this library to the interface, since a datagram is easily lost and a look-up
/// whose answer never comes stays until SSO_Exit: hosts call it now and then. Nothing else changes when it is
/// not called.
TAVLIB_API unsigned SSO_ExpireLookups(unsigned milliseconds);

TAVLIB_END_C

#ifdef __cplusplus

/// Thrown by SSO_TAVContext when a look-up cannot be started.
class TAVLIB_API tavexception {
 public:
  explicit tavexception(unsigned errorCode) : code(errorCode) {}

  uint32_t code;  ///< See tavlib/error_numbers.h.
};

/// One asynchronous look-up. SSO_GetUserByAddrAsync makes them, and the layer deletes them when they end. A
/// host that makes one itself does so with new: once started, the layer deletes it when the socket's `ready`,
/// a blocking look-up or SSO_ExpireLookups finishes it; a host that takes its answer with TAVASyncPop calls
/// Finish and deletes it itself. The destructor is not virtual, and the layer deletes an SSO_TAVContext: an
/// object of a derived class is not destroyed as such.
class TAVLIB_API SSO_TAVContext {
 public:
  /// Begins the enumeration. Throws tavexception when that fails. Arguments as for SSO_GetUserByAddrAsync.
  SSO_TAVContext(unsigned long address, char* user, unsigned userLength, char* second, unsigned secondLength,
                 SSO_Callback callback, void* cookie);

  /// Copies what is asked and where the answer goes. The copy owns neither the enumeration, which must
  /// outlive it, nor the other's request.
  SSO_TAVContext(const SSO_TAVContext& other);
  SSO_TAVContext& operator=(const SSO_TAVContext&) = delete;

  /// Gives an outstanding request up and closes the enumeration, without a callback. A copy leaves the
  /// enumeration open.
  ~SSO_TAVContext();

  /// Sends the request. Throws tavexception when that fails; the enumeration is closed then, and further
  /// calls throw TAV_E_CANCELLED, or TAV_E_NOTINITIALISED without the library. While an earlier request is
  /// outstanding, each call throws TAV_E_BUSY, and that request ends as one whose enumeration was closed.
  /// When there is no memory for the request, std::bad_alloc leaves it; the enumeration stays open, and a
  /// further call may send. A further call after an answer asks for the next entry.
  void Go();

  /// Takes the request's result, as TAVASyncPop returned it, and the last error: fills the buffers, calls the
  /// callback and returns 1 when the look-up has ended; 0 while it is pending.
  int Finish(int result, unsigned error);

 protected:
  TAVQueryEnum* query{nullptr};
  uint32_t answered{0};  ///< 1 once an answer was delivered.
  unsigned long address;
  char* user;
  unsigned userLength;
  char* second;
  unsigned secondLength;
  SSO_Callback callback;
  void* cookie;
  _TAVENTRYA entry{};  ///< The filter, then the answer.
  TAVASYNC handle{};

 private:
  TAVLIB_HIDDEN void closeQuery();

  bool original{true};  // False in a copy, which does not own `query`.
  bool sent{false};     // Whether the request of `handle`, if any, is this object's own.
};

#endif

#endif
