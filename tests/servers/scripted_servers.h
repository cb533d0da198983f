#ifndef TAVLIB_TESTS_SERVERS_SCRIPTED_SERVERS_H
#define TAVLIB_TESTS_SERVERS_SCRIPTED_SERVERS_H

#include <deque>
#include <string>
#include <vector>

#include "support/fake_server.h"
#include "support/fake_time.h"

namespace tavtest {

/// What a server does with each request.
enum class Manner { accepts, refuses, corrupts, ignores };

/// Servers on addresses of their own, which answer while the library waits.
class ScriptedServers {
 public:
  explicit ScriptedServers(const std::vector<std::string>& addresses) {
    for (const std::string& address : addresses)
      servers_.emplace_back("secret of " + address, address);
    manners_.resize(addresses.size(), Manner::accepts);
    time_.on_wait([this](int, timeval) { answer(); });
  }

  FakeServer& operator[](std::size_t index) { return servers_[index]; }
  void set(std::size_t index, Manner manner) { manners_[index] = manner; }

  std::vector<ConfiguredServer> configured() const {
    std::vector<ConfiguredServer> all;
    for (const FakeServer& server : servers_)
      all.push_back(server.configured());
    return all;
  }

  /// The last byte of the address of each server that got a request, in the order of the requests.
  const std::vector<int>& asked() const { return asked_; }
  /// The last request.
  const FakeServer::Request& last() const { return last_; }

  FakeTime& time() { return time_; }

 private:
  void answer() {
    for (std::size_t i = 0; i < servers_.size(); ++i) {
      if (servers_[i].is_idle()) continue;
      last_ = servers_[i].receive();
      asked_.push_back(std::stoi(servers_[i].address().substr(servers_[i].address().rfind('.') + 1)));
      answer(servers_[i], manners_[i]);
    }
  }

  void answer(FakeServer& server, Manner manner) {
    if (manner == Manner::accepts) server.reply_status(last_);
    if (manner == Manner::refuses) server.reply_error(last_);
    if (manner == Manner::corrupts) server.reply_bad_digest(last_);
  }

  std::deque<FakeServer> servers_;
  std::vector<Manner> manners_;
  std::vector<int> asked_;
  FakeServer::Request last_;
  FakeTime time_;
};

}  // namespace tavtest

#endif
