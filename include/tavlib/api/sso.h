#ifndef TAVLIB_API_SSO_H
#define TAVLIB_API_SSO_H

// Single sign-on: which user is at this address?
//
// A layer for gateways over one TAV server, the gateway's own. Its address is the value "gwtav" of the key
// "tavlib\Addresses" in the configuration file.
//
// A host with an event loop may define T_event_set_socket and T_event_del_socket. Through them the layer adds
// the server's socket to the loop and removes it.
//
// Threads: everything here belongs to the thread of the event loop.

#include <tavlib/export.h>

#ifdef __cplusplus

#include <stdint.h>
#include <tavlib/api/async.h>
#include <tavlib/protocol/entry.h>

class TAVQueryEnum;

#endif

TAVLIB_BEGIN_C

/// The two functions of a host that has an event loop. The library looks for them when it is loaded.
///
/// T_event_set_socket adds a socket to the loop. Whenever the socket is readable, the loop calls `ready` with
/// a number of its choice, which `ready` returns, and with `argument`. T_event_del_socket removes the socket.
/// Their results are ignored. An exception that they throw leaves SSO_Init or SSO_Exit, and the library then
/// stays initialised.
///
/// Without them asynchronous look-ups end in three ways only:
///   - a blocking look-up reads their answer,
///   - SSO_ExpireLookups ends them,
///   - SSO_Exit ends them.
///
/// After these declarations a definition outside every namespace has C linkage and default visibility,
/// whatever the compiler's flags are. In C++ write extern "C" all the same: only then is a definition with
/// other parameter types an error. Without extern "C" such a definition is another function, and the library
/// finds none.
__attribute__((visibility("default"))) int T_event_set_socket(int socket, int (*ready)(int, void*),
                                                              void* argument);
__attribute__((visibility("default"))) int T_event_del_socket(int socket);

/// Called once when a look-up has ended. `success` is
///   1  when the look-up ran: it found a user, or that none is at the address
///   0  when it failed, with the reason in the last error
///
/// It is called from
///   - the socket's `ready`,
///   - SSO_GetUserByAddr,
///   - SSO_ExpireLookups,
///   - SSO_GetUserByAddrAsync, when the look-up cannot be started,
///   - SSO_TAVContext::Finish.
///
/// The stack does not grow with the number of look-ups in flight. When a callback calls SSO_GetUserByAddr or
/// SSO_ExpireLookups, the callbacks of the look-ups that end by this are called once that callback has
/// returned. Only two kinds of callback have others called within them: one that runs the event loop, and one
/// that starts a look-up that fails at once.
typedef void (*SSO_Callback)(int success, void* cookie);

/// Initialises the library and registers the gateway server's socket with the host's event loop. Where the
/// configured servers do not include the gateway's, it registers -1.
///
/// Returns the product string "Norvel TAV/TIZ", or null with the reason in the last error:
///   that of TAVInitialize  the library is not initialised
///   TAV_E_CONFIG           also when the configuration names no gateway server; in this case the library
///                          stays initialised
///
/// In C++ it throws what TAVInitialize throws, and std::bad_alloc when memory runs out; after std::bad_alloc
/// the library stays initialised, too.
TAVLIB_API const char* SSO_Init(void);

/// Undoes a successful SSO_Init: removes the socket from the event loop and calls TAVExit. Asynchronous
/// look-ups in flight end without their callback being called. Does nothing when the layer is down.
TAVLIB_API void SSO_Exit(void);

/// The same as TAVGetLastError.
TAVLIB_API unsigned SSO_GetLastError(void);

/// Looks up the user at `address` (in the form that entries carry) and waits for the answer.
///
/// Returns
///   1                        the look-up ran: `user` holds the user's name and `second` the entry's third
///                            text, or both are empty because nobody is at the address
///   0, TAV_E_NOTINITIALISED  no SSO_Init has found a gateway address yet, or the library is not initialised
///   0, any other last error  the look-up failed with it
///   0, no last error set     a gateway address is known, but the layer is down
///
/// Lengths are in bytes. A text of the buffer's length or longer fills the buffer without a terminating zero.
/// A buffer of length 0 is never written.
///
/// Pass both buffers, or length 0 for one that is not wanted. When the server answers with an entry that says
/// that nobody is there (`word12` not 0), both are written without a check for null.
///
/// Asynchronous look-ups that were answered during the wait end before this function returns. When it is
/// called in a callback, they end after that callback.
///
/// In C++ it throws std::bad_alloc when there is no memory for the request.
TAVLIB_API int SSO_GetUserByAddr(unsigned long address, char* user, unsigned userLength, char* second,
                                 unsigned secondLength);

/// Starts a look-up and returns. `callback` is called when the look-up has ended; null is not called.
///
/// Until then the buffers must last. Either of them may be null. Texts and lengths are as for
/// SSO_GetUserByAddr.
TAVLIB_API void SSO_GetUserByAddrAsync(unsigned long address, char* user, unsigned userLength, char* second,
                                       unsigned secondLength, SSO_Callback callback, void* cookie);

/// Abandons every asynchronous look-up that was started more than `milliseconds` ago and is not answered yet,
/// the oldest first. Hosts' own SSO_TAVContexts are included.
///
/// The callback of each is called with 0 and the last error TAV_E_ABANDONED, and a late answer is dropped.
///
/// Returns how many look-ups it abandoned; 0 with TAV_E_NOTINITIALISED when the library is not initialised.
///
/// Look-ups whose answer another call has read end with that answer and are not included in the result: on
/// the gateway's server all of them, on a server that was the gateway's earlier those of that age. Look-ups
/// that a callback starts stay in flight. Ages are measured by a clock that setting the system time does not
/// change.
///
/// An addition of this library to the interface: datagrams get lost, and without it a look-up whose answer
/// never comes stays until SSO_Exit. Call it now and then. Nothing changes for hosts that do not call it.
TAVLIB_API unsigned SSO_ExpireLookups(unsigned milliseconds);

TAVLIB_END_C

#ifdef __cplusplus

/// Thrown by SSO_TAVContext when a look-up cannot be started.
class TAVLIB_API tavexception {
 public:
  explicit tavexception(unsigned errorCode) : code(errorCode) {}

  uint32_t code;  ///< See tavlib/error_numbers.h.
};

/// One asynchronous look-up. SSO_GetUserByAddrAsync creates these objects, and the layer deletes them when
/// they end.
///
/// A host that creates one itself must do so with new. Once the look-up has been started,
///   - the layer deletes it, when the socket's `ready`, a blocking look-up or SSO_ExpireLookups completes it,
///   - the host calls Finish and deletes it, when TAVASyncPop returned its result to the host.
///
/// The destructor is not virtual, and the layer deletes an SSO_TAVContext: an object of a derived class is
/// not destroyed as such.
class TAVLIB_API SSO_TAVContext {
 public:
  /// Begins the enumeration. Throws tavexception when that fails. The arguments are those of
  /// SSO_GetUserByAddrAsync.
  SSO_TAVContext(unsigned long address, char* user, unsigned userLength, char* second, unsigned secondLength,
                 SSO_Callback callback, void* cookie);

  /// Copies the question and the places for the answer. The copy owns neither the enumeration, which must
  /// outlive it, nor the original's request.
  SSO_TAVContext(const SSO_TAVContext& other);
  SSO_TAVContext& operator=(const SSO_TAVContext&) = delete;

  /// Abandons an outstanding request and closes the enumeration, without a callback. A copy leaves the
  /// enumeration open.
  ~SSO_TAVContext();

  /// Sends the request. A further call after an answer asks for the next entry.
  ///
  /// Throws
  ///   tavexception TAV_E_BUSY  while an earlier request is outstanding; that request then ends as one whose
  ///                            enumeration was closed
  ///   tavexception             when sending fails; the enumeration is then closed, and further calls throw
  ///                            TAV_E_CANCELLED, or TAV_E_NOTINITIALISED without the library
  ///   std::bad_alloc           when there is no memory for the request; the enumeration stays open, and a
  ///                            further call may send the request
  void Go();

  /// Delivers the request's result: `result` is what TAVASyncPop returned, and `error` the last error. Fills
  /// the buffers and calls the callback.
  ///
  /// Returns 1 when the look-up has ended; 0, having done nothing, while it is pending.
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
