// The list of servers that any configuration file gives.
//
// Input, text: the machine-wide store up to a zero byte, then the configuration file.

#include <arpa/inet.h>
#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

#include <cstring>
#include <map>
#include <optional>

#include "fuzz/datagrams.h"
#include "fuzz/files_in_memory.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/registry_model.h"
#include "support/config_file.h"

namespace tavtest {
namespace {

constexpr unsigned kNumber = 4;
constexpr unsigned kUntouched = 99;
constexpr std::size_t kMostServers = 20;
constexpr std::size_t kLongestSecret = 16;

struct ModelServer {
  std::uint16_t port;
  std::string secret;
};
using ModelServers = std::map<unsigned long, ModelServer>;

std::optional<ModelKey> open_key(std::string& content, const std::string& base, const std::string& path) {
  bool created = false;
  ErrorNumber error = 0;
  return ModelKey::open(content, base, path, false, 1, created, error);
}

std::string text_of(const ModelValue& value) {
  return value.bytes.substr(0, value.bytes.find('\0'));
}

std::optional<std::uint16_t> port_in(const std::optional<ModelKey>& key, const char* name) {
  const ModelValue* value = key ? key->find(name) : nullptr;
  if (value == nullptr) return std::nullopt;
  if (value->type != kNumber) return static_cast<std::uint16_t>(std::atoll(text_of(*value).c_str()));
  std::uint32_t number = 0;
  std::memcpy(&number, value->bytes.data(), sizeof number);
  return static_cast<std::uint16_t>(number);
}

std::string secret_in(const ModelKey& key) {
  const ModelValue* value = key.find("Passphrase");
  const std::string text = value == nullptr ? "" : text_of(*value);
  return text == " " ? "" : text.substr(0, kLongestSecret);
}

/// The servers that the files describe. Nothing when there are many, or two with one address: of those the
/// list forgets one for good.
std::optional<ModelServers> described(std::string content, std::string machine_wide) {
  ModelServers servers;
  const auto addresses = open_key(content, "", "tavlib\\Addresses");
  if (!addresses) return servers;
  const auto ports = open_key(machine_wide, "", "SOFTWARE\\Kestrane\\Norvel\\Ports");
  for (const std::string& child : addresses->children()) {
    const auto key = open_key(content, addresses->name(), child);
    if (!key) continue;
    auto port = port_in(key, "Endpoint");
    if (!port) port = port_in(ports, "KS-TAV");
    if (!port) continue;
    const bool is_new = servers.emplace(inet_addr(child.c_str()), ModelServer{*port, secret_in(*key)}).second;
    if (!is_new || servers.size() > kMostServers) return std::nullopt;
  }
  return servers;
}

/// A request tells where the server is thought to be.
void check_receiver(TAVServerList& list, unsigned long address, std::uint16_t port) {
  ServerInterface::ASyncRequest request;
  unsigned version = 0;
  expect(list.QueryVersion(address, version, &request) == TAV_E_PENDING, "a request is sent");
  expect(last_receiver().sin_port == htons(port), "the port");
  expect(last_receiver().sin_addr.s_addr == static_cast<in_addr_t>(address), "the address");
  request.owner->Forget(&request);
}

void check_list(const ModelServers& servers) {
  TAVSetLastError(kUntouched);
  TAVServerList list;
  expect(list.IsValid() == (servers.empty() ? 0 : 1), "whether the list is valid");
  expect(TAVGetLastError() == (servers.empty() ? unsigned{TAV_E_CONFIG} : kUntouched), "the last error");
  unsigned index = 0;
  for (const auto& [address, server] : servers) {
    // Address 0 is also how the end is told.
    expect(list.GetServer(index++) == address, "an address");
    expect(list.GetSecret(address) == server.secret, "a pass phrase");
    expect(list.FindBySocket(list.GetSocket(address)) == list.FindByServer(address), "a socket");
    check_receiver(list, address, server.port);
  }
  expect(list.GetServer(index) == 0, "the end of the list");
}

void try_configuration(Input input) {
  static const TestConfig config = [] {
    keep_files_in_memory();
    return TestConfig();
  }();
  const std::string machine_wide = input.until('\0');
  const Bytes rest = input.rest();
  const std::string content(rest.begin(), rest.end());
  const auto servers = described(content, machine_wide);
  if (!servers) return;
  write_file(TestConfig::machine_store(), machine_wide);
  config.write(content);
  check_list(*servers);
  expect(config.content() == content, "reading changes nothing");
}

}  // namespace
}  // namespace tavtest

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  tavtest::try_configuration({data, size});
  return 0;
}
