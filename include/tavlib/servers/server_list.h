#ifndef TAVLIB_SERVERS_SERVER_LIST_H
#define TAVLIB_SERVERS_SERVER_LIST_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/servers/tav_server_interface.h>

#include <cstdint>
#include <map>

/// The configured TAV servers, by address. Addresses are IPv4 in network byte order, as inet_addr yields
/// them; failures that are said to be set go to the calling thread's last error (TAVGetLastError). After
/// construction only the servers' comm-up flags change; thread rules of each server as for ServerInterface.
class TAVLIB_API TAVServerList {
 public:
  /// Reads the configuration file: one server for each subkey of "tavlib\Addresses", named by its dotted
  /// address, with "Endpoint" (UDP port; its low 16 bits count) and "Passphrase" (" " is empty). Without
  /// "Endpoint" the machine-wide "KS-TAV" in "SOFTWARE\Kestrane\Norvel\Ports" is used; without both the
  /// subkey is skipped. When two subkeys give one address, the later one counts. Sets last error 3 when
  /// nothing usable was found and 9 when memory ran out; the list is then not valid.
  TAVServerList();

  /// Destroys every server.
  virtual ~TAVServerList();

  TAVServerList(const TAVServerList&) = delete;
  TAVServerList& operator=(const TAVServerList&) = delete;

  /// 1 when the last server created is usable.
  virtual int IsValid();

  /// The `index`-th server's address, in ascending order; 0 past the end.
  unsigned long GetServer(unsigned index);

  /// The server's UDP socket, owned by its interface; -1 when the address is unknown.
  int GetSocket(unsigned long address);

  /// The server with that socket or address, owned by the list; null when there is none.
  TAVServerInterface* FindBySocket(int socket);
  TAVServerInterface* FindByServer(unsigned long address);

  /// As TAVServerInterface::QueryVersion; 11 when the address is unknown.
  unsigned QueryVersion(unsigned long address, unsigned& version, ServerInterface::ASyncRequest* request);

  /// The server's pass phrase, owned by its interface; null with last error 11 when the address is unknown.
  const char* GetSecret(unsigned long address);

  /// Asks the server to listen on `port` (host byte order), or to stop. 1, or 0 with the code as last error.
  int Listen(unsigned short port, unsigned long address);
  int ListenStop(unsigned long address);

  /// Marks every server as reachable.
  void SetAllCommsUp();

  /// As TAVServerInterface::QueryEntry; 11 when the address is unknown.
  unsigned QueryEntry(unsigned a1, unsigned a2, _TAVENTRYW& entry, unsigned a3, unsigned long address,
                      ServerInterface::ASyncRequest* request);

  /// Adds an entry on one server: 2, or 0 (with last error 11 only when the address is unknown). With
  /// `address` 0, on every reachable server, but of the local ones on the first only: 2 when all were up and
  /// took it, 1 when some did, both with the last failure (or 0) as last error, and 0 when none did. A server
  /// that fails is marked as down.
  int AddEntry(const _TAVENTRYA& entry, unsigned long address);
  int AddEntry(const _TAVENTRYW& entry, unsigned long address);

  /// As TAVServerInterface::AddEntry.
  unsigned AddEntryUsing(const _TAVENTRYA& entry, TAVServerInterface* server);
  unsigned AddEntryUsing(const _TAVENTRYW& entry, TAVServerInterface* server);

  /// A number that no other list of the process has; an address may come round to a later list.
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
