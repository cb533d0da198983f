#ifndef TAVLIB_SERVERS_SERVER_LIST_H
#define TAVLIB_SERVERS_SERVER_LIST_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/servers/tav_server_interface.h>

#include <cstdint>
#include <map>

/// The configured TAV servers, by address.
///
/// - Addresses are IPv4 in network byte order, as inet_addr returns them.
/// - A last error is the calling thread's (TAVGetLastError). Operations set it only where they say so.
/// - After construction only the servers' comm-up flags change.
///
/// Threads: for each server as for ServerInterface.
class TAVLIB_API TAVServerList {
 public:
  /// Reads the configuration file: one server for each subkey of "tavlib\Addresses", named by its dotted
  /// address. Its values are
  ///   "Endpoint"    the UDP port, of which the low 16 bits are used; without it the machine-wide "KS-TAV" in
  ///                 "SOFTWARE\Kestrane\Norvel\Ports" is used, and without both the subkey is skipped
  ///   "Passphrase"  the pass phrase; " " stands for an empty one
  /// When two subkeys give one address, the later one is used.
  ///
  /// The list is not valid, with one of these last errors, when it could not be made:
  ///   TAV_E_CONFIG    no server was found, or the last one created is not usable
  ///   TAV_E_NOMEMORY  memory ran out
  TAVServerList();

  /// Destroys every server.
  virtual ~TAVServerList();

  TAVServerList(const TAVServerList&) = delete;
  TAVServerList& operator=(const TAVServerList&) = delete;

  /// 1 when the last server created is usable, else 0.
  virtual int IsValid();

  /// The `index`-th server's address, in ascending order; 0 past the end.
  unsigned long GetServer(unsigned index);

  /// The server's UDP socket, owned by its interface; -1 when the address is unknown or it has no socket.
  int GetSocket(unsigned long address);

  /// The server with that socket or address, owned by the list; null when there is none.
  TAVServerInterface* FindBySocket(int socket);
  TAVServerInterface* FindByServer(unsigned long address);

  /// As TAVServerInterface::QueryVersion; TAV_E_UNKNOWNSERVER when the address is unknown.
  unsigned QueryVersion(unsigned long address, unsigned& version, ServerInterface::ASyncRequest* request);

  /// The server's pass phrase, owned by its interface; null with last error TAV_E_UNKNOWNSERVER when the
  /// address is unknown.
  const char* GetSecret(unsigned long address);

  /// Asks the server to listen on `port` (host byte order), or to stop, and waits for the answer. 1; or 0
  /// with the status code as last error, TAV_E_UNKNOWNSERVER when the address is unknown.
  int Listen(unsigned short port, unsigned long address);
  int ListenStop(unsigned long address);

  /// Marks every server as reachable.
  void SetAllCommsUp();

  /// As TAVServerInterface::QueryEntry; TAV_E_UNKNOWNSERVER also when the address is unknown.
  unsigned QueryEntry(unsigned a1, unsigned a2, _TAVENTRYW& entry, unsigned a3, unsigned long address,
                      ServerInterface::ASyncRequest* request);

  /// Adds an entry on the server at `address`. Returns
  ///   2  added; the last error becomes 0
  ///   0  not added; the last error becomes TAV_E_UNKNOWNSERVER when the address is unknown, and otherwise
  ///      stays as it was
  ///
  /// With `address` 0, adds it on every server that is marked as up, but of the local ones on the first only.
  /// A server that fails is marked as down. Returns
  ///   2  all servers were up, and all added it; the last error becomes 0
  ///   1  some added it; the last error becomes that of the last server that failed, 0 if none did
  ///   0  none added it; the last error stays as it was
  int AddEntry(const _TAVENTRYA& entry, unsigned long address);
  int AddEntry(const _TAVENTRYW& entry, unsigned long address);

  /// As TAVServerInterface::AddEntry.
  unsigned AddEntryUsing(const _TAVENTRYA& entry, TAVServerInterface* server);
  unsigned AddEntryUsing(const _TAVENTRYW& entry, TAVServerInterface* server);

  /// A number that no other list of the process has. Unlike it, a list's address in memory may be that of a
  /// later list.
  unsigned GetSerial() const;

 protected:
  std::map<unsigned long, TAVServerInterface*> servers;  ///< Owned.
  std::uint32_t valid{0};
  std::uint32_t serial;

 private:
  TAVLIB_HIDDEN void readConfiguration();
  TAVLIB_HIDDEN void createServer(unsigned long address, unsigned port, const char* secret);
  template <typename Record>
  TAVLIB_HIDDEN int addEntry(const Record& entry, unsigned long address);
  template <typename Record>
  TAVLIB_HIDDEN int addToOne(const Record& entry, unsigned long address);
  template <typename Record>
  TAVLIB_HIDDEN int addToAll(const Record& entry);
};

#endif

#endif
