#include "conformance/tavsim.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <csignal>
#include <exception>
#include <stdexcept>

namespace tavtest {
namespace {

std::vector<std::string> arguments_of(const TavsimOptions& options, const TempFolder& folder) {
  const std::string entries = folder.file("entries.json");
  write_file(entries, options.entries);
  std::vector<std::string> arguments{"--address",        options.address, "--passphrase",
                                     options.passphrase, "--entries",     entries};
  arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
  return arguments;
}

// What follows the sender in "request 1 from 127.0.0.1:4000: version id=1 ...".
std::string request_in(const std::string& line) {
  return line.substr(line.find(": ") + 2);
}

bool is_request(const std::string& line) {
  return line.rfind("request ", 0) == 0;
}

}  // namespace

Tavsim::Tavsim(const TavsimOptions& options)
    : configured_{options.address, 0, options.passphrase}, process_(arguments_of(options, folder_)) {
  configured_.port = process_.wait_for_port(options.address);
}

Tavsim::~Tavsim() {
  try {
    stop();
  } catch (const std::exception& failure) {
    ADD_FAILURE() << "tavsim: " << failure.what();
  }
}

unsigned long Tavsim::number() const {
  return inet_addr(configured_.address.c_str());
}

std::string Tavsim::next_line_with(const std::string& start) {
  for (std::string line = process_.read_line(); !line.empty(); line = process_.read_line()) {
    if (line.rfind(start, 0) == 0) return line;
  }
  throw std::runtime_error("tavsim ended");
}

Bytes Tavsim::next_datagram() {
  const std::string line = next_line_with("datagram ");
  Bytes bytes;
  for (std::size_t i = line.find(": ") + 2; i + 1 < line.size(); i += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

std::string Tavsim::next_request() {
  return request_in(next_line_with("request "));
}

// The outputs end when the process does, so that the wait for its end is short.
std::vector<std::string> Tavsim::stop() {
  std::vector<std::string> requests;
  if (!running_) return requests;
  running_ = false;
  process_.signal(SIGTERM);
  for (std::string line = process_.read_line(); !line.empty(); line = process_.read_line()) {
    if (is_request(line)) requests.push_back(request_in(line));
  }
  const std::string errors = process_.read_errors();
  const int code = process_.wait();
  if (code != 0) throw std::runtime_error("exit code " + std::to_string(code) + ": " + errors);
  return requests;
}

const char* const sample_entries = R"([
  {"user": "Anna Kvist", "string2": "akvist", "string3": "Engineering", "address": "10.1.0.11", "word7": 1},
  {"user": "Bram Osei", "string2": "bosei", "string3": "Finance", "address": "10.1.0.12", "word7": 2,
   "data": "0001ff", "tag": 7, "flag8": true, "word9": 9, "word10": 10, "word11": 11, "word14": 14},
  {"user": "Finn O'Leary", "string2": "say \"hi\"", "address": "10.1.0.13", "word7": 2},
  {"user": "Logged Out", "string3": "Visitors", "address": "10.1.0.14", "word12": 1}
])";

}  // namespace tavtest
