#include <arpa/inet.h>
#include <tavlib/api/last_error.h>
#include <tavlib/api/query.h>
#include <tavlib/api/sso.h>
#include <tavlib/registry/registry_handle.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "api/event_loop.h"
#include "api/process_state.h"
#include "api/sso_lookups.h"
#include "api/sso_state.h"
#include "registry/config_file.h"

namespace tavlib {

namespace {

constexpr const char* kGatewayKey = "tavlib\\Addresses";
constexpr const char* kGatewayValue = "gwtav";
constexpr unsigned kReadOnly = 1;

struct CloseKeyFile {
  void operator()(ARegistryKey* key) const { ARegKeyFileClose(key); }
};

void require(int result) {
  if (result == 0) throw tavexception(TAV_E_CONFIG);
}

// A number is the address itself, in network byte order.
unsigned long read_number(ARegistry& key) {
  std::uint32_t number = 0;
  unsigned size = sizeof number;
  require(key.QueryValue(kGatewayValue, nullptr, &size, reinterpret_cast<unsigned char*>(&number)));
  return number;
}

unsigned long read_dotted_address(ARegistry& key) {
  unsigned size = 0;
  require(key.QueryValue(kGatewayValue, nullptr, &size, nullptr));
  std::vector<char> text(std::size_t{size} + 1);
  require(key.QueryValue(kGatewayValue, nullptr, &size, reinterpret_cast<unsigned char*>(text.data())));
  return inet_addr(text.data());
}

void read_gateway_address() {
  const std::unique_ptr<ARegistryKey, CloseKeyFile> root(ARegKeyFile(kConfigFile));
  ARegistry key;
  require(key.Open(root.get(), kGatewayKey, 0, nullptr, kReadOnly));

  unsigned type = 0;
  require(key.QueryValue(kGatewayValue, &type, nullptr, nullptr));
  if (type == REG_DWORD) {
    g_SsoServer = read_number(key);
  } else if (type == REG_SZ) {
    g_SsoServer = read_dotted_address(key);
    if (g_SsoServer == INADDR_NONE) throw tavexception(TAV_E_CONFIG);
  } else {
    throw tavexception(TAV_E_CONFIG);
  }
}

}  // namespace

// For a gateway that is not one of the configured servers, socket -1 is registered all the same.
int SSO_Configure() {
  try {
    read_gateway_address();
  } catch (const tavexception& failure) {
    return refuse(failure.code);
  }
  if (T_event_set_socket != nullptr) {
    T_event_set_socket(TAVGetSocket(g_SsoServer), SSO_SocketReady, reinterpret_cast<void*>(g_SsoServer));
  }
  return 1;
}

}  // namespace tavlib
