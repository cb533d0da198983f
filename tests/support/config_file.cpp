#include "support/config_file.h"

#include <filesystem>

namespace tavtest {
namespace {

constexpr uid_t calling_user = 1000;
const std::filesystem::path configured = TAVLIB_CONFIG_FILE;

// The home directory `name`, the same for the whole process.
std::string home(const char* name) {
  static const TempFolder homes;
  const auto path = homes.path() / name;
  std::filesystem::create_directory(path);
  return path.string();
}

std::string machine_home() {
  return home("root");
}
std::string user_home() {
  return home("user");
}

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

}  // namespace

TestConfig::TestConfig()
    : config_(configured.parent_path().string() + "/", folder_.path().string() + "/"),
      top_("/.regfile", folder_.file("top.regfile")),
      user_(calling_user),
      machine_home_(0, machine_home().c_str()),
      user_home_(calling_user, user_home().c_str()) {
  for (const std::string& store : {machine_store(), user_store()})
    std::filesystem::remove(store);
}

TestConfig::TestConfig(const std::vector<ConfiguredServer>& servers, const std::string& gateway)
    : TestConfig() {
  write_servers(servers, gateway);
}

void TestConfig::write(const std::string& content) const {
  write_file(path(), content);
}

void TestConfig::write_lines(const std::vector<std::string>& lines) const {
  std::string content;
  for (const std::string& line : lines)
    content += line + "\n";
  write(content);
}

void TestConfig::write_servers(const std::vector<ConfiguredServer>& servers,
                               const std::string& gateway) const {
  std::vector<std::string> lines{"[tavlib\\Addresses\\]"};
  if (!gateway.empty()) lines.push_back("gwtav=" + quoted(gateway));
  for (const ConfiguredServer& server : servers) {
    lines.push_back("[tavlib\\Addresses\\" + server.address + "\\]");
    lines.push_back("Endpoint=" + std::to_string(server.port));
    lines.push_back("Passphrase=" + quoted(server.passphrase));
  }
  write_lines(lines);
}

std::string TestConfig::content() const {
  return read_file(path());
}

std::string TestConfig::path() const {
  return folder_.file(configured.filename().string());
}

std::string TestConfig::machine_store() {
  return machine_home() + "/.regfile";
}

std::string TestConfig::user_store() {
  return user_home() + "/.regfile";
}

std::string TestConfig::top_store() const {
  return folder_.file("top.regfile");
}

void TestConfig::write_fallback_port(unsigned port) {
  write_file(machine_store(), "[SOFTWARE\\Kestrane\\Norvel\\Ports\\]\nKS-TAV=" + std::to_string(port) + "\n");
}

}  // namespace tavtest
