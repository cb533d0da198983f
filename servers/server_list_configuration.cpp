#include <arpa/inet.h>
#include <tavlib/api/last_error.h>
#include <tavlib/platform/error_state.h>
#include <tavlib/platform/interlocked.h>
#include <tavlib/registry/registry.h>
#include <tavlib/servers/server_list.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include "platform/error_codes.h"
#include "registry/config_file.h"

namespace {

constexpr unsigned kReadOnly = 1;
constexpr const char* kServersKey = "tavlib\\Addresses";
constexpr const char* kPortsKey = "SOFTWARE\\Kestrane\\Norvel\\Ports";

struct CloseKeyFile {
  void operator()(ARegistryKey* key) const { ARegKeyFileClose(key); }
};
using KeyFile = std::unique_ptr<ARegistryKey, CloseKeyFile>;

std::uint32_t next_serial() {
  static long last = 0;
  return static_cast<std::uint32_t>(InterlockedIncrement(&last));
}

bool is_local(unsigned long address) {
  return address == htonl(INADDR_LOOPBACK);
}

// Whether a call of the registry succeeds. Running out of memory is not a missing key or value: the list must
// not become smaller by it, nor a pass phrase empty.
template <typename Call>
bool succeeds(Call call) {
  if (call() == 1) return true;
  if (AErrors::GetRtlError() == tavlib::kOutOfMemory) throw std::bad_alloc();
  return false;
}

template <typename Path>
bool open_key(Registry& key, const Path& path) {
  return succeeds([&] { return key.Open(path, kReadOnly); });
}

template <typename Value>
bool read_value(Registry& key, const char* name, Value& value) {
  return succeeds([&] { return key.QueryValue(name, value); });
}

bool read_child(Registry& key, unsigned index, std::string& name) {
  return succeeds([&] { return key.EnumKey(index, name); });
}

// The machine-wide port, for servers that have none of their own.
class FallbackPort {
 public:
  FallbackPort() : ports(REGISTRY_ROOT_SUPERUSER), open(open_key(ports, kPortsKey)) {}

  bool read(unsigned& port) { return open && read_value(ports, "KS-TAV", port); }

 private:
  Registry ports;
  bool open;
};

// False when the server has no port, neither its own nor the machine-wide one.
bool read_port(Registry& server, FallbackPort& fallback, unsigned& port) {
  return read_value(server, "Endpoint", port) || fallback.read(port);
}

std::string read_pass_phrase(Registry& server) {
  std::string passPhrase;
  read_value(server, "Passphrase", passPhrase);
  // An empty pass phrase is written as one space.
  return passPhrase == " " ? std::string() : passPhrase;
}

}  // namespace

TAVServerList::TAVServerList() : serial(next_serial()) {
  try {
    readConfiguration();
  } catch (const std::bad_alloc&) {
    TAVSetLastError(TAV_E_NOMEMORY);
    valid = 0;
  }
}

void TAVServerList::readConfiguration() {
  const KeyFile root(ARegKeyFile(tavlib::kConfigFile));
  FallbackPort fallback;
  Registry addresses(root.get());
  if (!open_key(addresses, kServersKey)) {
    TAVSetLastError(TAV_E_CONFIG);
    return;
  }

  std::string name;
  for (unsigned index = 0; read_child(addresses, index, name); ++index) {
    Registry server(addresses.GetKey());
    if (!open_key(server, name)) continue;
    unsigned port = 0;
    if (!read_port(server, fallback, port)) continue;
    createServer(inet_addr(name.c_str()), port, read_pass_phrase(server).c_str());
  }
  if (valid == 0) TAVSetLastError(TAV_E_CONFIG);
}

// When two subkeys give one address, the later interface replaces the earlier one, which is neither kept nor
// destroyed.
void TAVServerList::createServer(unsigned long address, unsigned port, const char* secret) {
  auto server = std::make_unique<TAVServerInterface>(address, static_cast<unsigned short>(port & 0xFFFFU),
                                                     secret, is_local(address) ? 1 : 0);
  TAVServerInterface*& slot = servers[address];
  slot = server.release();
  valid = static_cast<std::uint32_t>(slot->IsValid());
}
