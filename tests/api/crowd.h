#ifndef TAVLIB_TESTS_API_CROWD_H
#define TAVLIB_TESTS_API_CROWD_H

#include <memory>
#include <random>

#include "api/requests_in_flight.h"

namespace tavtest {

/// Many requests of every form at once on the gateway's server, answered in an order drawn by lot, their
/// answers read through every function that reads the socket, some of them from within callbacks. The same
/// seed gives the same course.
class Crowd {
 public:
  Crowd(FakeServer& gateway, FakeTime& clock, HostLoop& host_loop, unsigned seed);
  ~Crowd() { time_.on_wait({}); }

  Crowd(const Crowd&) = delete;
  Crowd& operator=(const Crowd&) = delete;

  /// Sends `count` requests and has them answered; halfway older look-ups are ended. Expects each owner to be
  /// told once, and what its request ended with.
  void run(std::size_t count);

 private:
  struct Member {
    std::unique_ptr<RequestInFlight> request;
    Reply reply;
    bool interim;       // whether an interim reply comes first
    time_t started;     // as the clock said
    bool ended{false};  // whether the server has sent the final reply
  };

  unsigned draw(unsigned below) { return static_cast<unsigned>(random_() % below); }
  std::uint32_t next_number() { return ++last_number_; }

  void start_one();
  std::unique_ptr<RequestInFlight> make_lookup();
  std::unique_ptr<RequestInFlight> make_host_request();
  void plan_replies();

  void send_next();
  void send_some();
  void send_until(std::size_t left);

  void read();
  void poll_one();
  void wait_for_one();
  void look_up_blocking();
  void ask_version();
  void abandon_one();
  void read_in_callback();
  void expire_older();

  HostRequest* outstanding();

  FakeServer& server_;
  FakeTime& time_;
  HostLoop& loop_;
  std::mt19937 random_;
  std::uint32_t last_number_ = 0;
  std::vector<Member> members_;
  std::vector<HostRequest*> handles_;
  std::vector<std::size_t> plan_;  ///< Whose reply is sent next, from the back.
  unsigned depth_ = 0;             ///< Of callbacks that read.
  bool quiet_ = false;             ///< Whether callbacks are to do nothing.
};

}  // namespace tavtest

#endif
