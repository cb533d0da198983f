#ifndef TAVLIB_TESTS_API_REQUESTS_IN_FLIGHT_H
#define TAVLIB_TESTS_API_REQUESTS_IN_FLIGHT_H

#include <optional>

#include "api/sso_fixture.h"

namespace tavtest {

/// How a server ends a request.
enum class Reply { answer, no_entry, error, wrong_digest };

/// The code with which an entry query then ends; 0 for an entry.
unsigned code_of(Reply reply);

/// The texts of the entry numbered `number`, unlike those of every other number.
std::string user_text(std::uint32_t number);
WireEntry numbered_entry(std::uint32_t number);

/// A look-up's buffer that got a text, as strncpy leaves it.
std::array<char, Lookup::size> holding(const std::string& text);

/// A request that was sent, with what its owner is to be told and what it was told. The number tells it from
/// the others: it is in its answer.
class RequestInFlight {
 public:
  explicit RequestInFlight(std::uint32_t number) : number_(number) {}
  virtual ~RequestInFlight() = default;

  RequestInFlight(const RequestInFlight&) = delete;
  RequestInFlight& operator=(const RequestInFlight&) = delete;

  /// Sends it. Its answer is what its owner is to be told then.
  void start(FakeServer& server);

  /// Lets the server reply to what was sent last; nothing when nothing was. Can be done again.
  virtual void reply(FakeServer& server, Reply how = Reply::answer) const;
  void reply_interim(FakeServer& server) const { server.reply_interim(sent_); }

  /// Expects the owner to have been told what `ends_with` says, once, and its output to be accordingly.
  virtual void expect_told() const = 0;

  std::uint32_t number() const { return number_; }

  std::optional<unsigned> ends_with;  ///< 0 for success; nothing when the owner is told nothing.

 protected:
  virtual void send(unsigned long server) = 0;
  bool was_sent() const { return !sent_.packet.empty(); }

  FakeServer::Request sent_;

 private:
  std::uint32_t number_;
};

/// An asynchronous look-up of the layer.
class LookupInFlight : public RequestInFlight {
 public:
  using RequestInFlight::RequestInFlight;

  void expect_told() const override;

  Lookup lookup;

 protected:
  void send(unsigned long server) override;
};

/// A look-up that waits. It takes FakeTime's hook.
class BlockingLookup : public LookupInFlight {
 public:
  using LookupInFlight::LookupInFlight;

  /// Looks up. In its first wait `meanwhile` is called, which is to reply to it.
  void look_up(FakeServer& server, FakeTime& time, const std::function<void()>& meanwhile);
};

/// A request of the host's own, with its handle.
class HostRequest : public RequestInFlight {
 public:
  using RequestInFlight::RequestInFlight;
  ~HostRequest() override { TAVASyncAbandon(&async); }

  /// Takes the result of the function that told the outcome.
  virtual void tell(int result);

  /// Gives it up, so that nobody is told any more. An answer that was read before stays where it arrived.
  int give_up();

  TAVASYNC async{this, nullptr};
  std::vector<unsigned> told;  ///< Each code; 0 for success.

 protected:
  void expect_told_once() const;

  /// Whether the answer is expected in the output.
  bool was_answered() const { return ends_with == 0u || answered_in_vain_; }

 private:
  bool answered_in_vain_ = false;
};

/// A version request; it cannot be answered with "no entry".
class VersionInFlight : public HostRequest {
 public:
  using HostRequest::HostRequest;

  void reply(FakeServer& server, Reply how = Reply::answer) const override;
  void expect_told() const override;

 protected:
  void send(unsigned long server) override;

 private:
  unsigned version_ = untouched;
};

/// A step of an enumeration, which is opened when it is needed.
class StepInFlight : public HostRequest {
 public:
  using HostRequest::HostRequest;
  ~StepInFlight() override { close(); }

  void open(unsigned long server);
  void close() { TAVQueryClose(std::exchange(query_, nullptr)); }

  /// The result of TAVQueryNextAsA with an empty record.
  int next();

  void tell(int result) override;
  void expect_told() const override;

 protected:
  void send(unsigned long server) override;

 private:
  TAVQueryEnum* query_ = nullptr;
  _TAVENTRYA entry_{};
  std::string text_;  ///< The user, as it was when the outcome was told.
};

/// Pops once and tells the owner what came out. False when nothing was handed out.
bool pop_and_tell(unsigned long server);

/// Pops and runs the loop until every datagram that arrived was read and its owner told.
void drain(unsigned long server, const HostLoop& loop);

/// A blocking look-up of the entry numbered `number`, which is expected to be found.
void expect_blocking_lookup(std::uint32_t number);

}  // namespace tavtest

#endif
