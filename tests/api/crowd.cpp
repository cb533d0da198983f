#include "api/crowd.h"

#include <algorithm>

namespace tavtest {
namespace {

constexpr std::size_t largest_burst = 40;  // datagrams that a socket's buffer surely holds
constexpr unsigned deepest = 3;

}  // namespace

Crowd::Crowd(FakeServer& gateway, FakeTime& clock, HostLoop& host_loop, unsigned seed)
    : server_(gateway), time_(clock), loop_(host_loop), random_(seed) {}

void Crowd::run(std::size_t count) {
  while (members_.size() < count)
    start_one();
  plan_replies();
  send_until(plan_.size() / 2);
  expire_older();
  send_until(0);
  drain(server_.address_number(), loop_);
  for (const Member& member : members_)
    member.request->expect_told();
  EXPECT_EQ(requests_held(), 0u);
}

void Crowd::start_one() {
  time_.advance(std::chrono::seconds(1));
  constexpr Reply replies[] = {Reply::answer, Reply::answer, Reply::error, Reply::wrong_digest,
                               Reply::no_entry};
  const bool is_lookup = draw(2) == 0;
  auto request = is_lookup ? make_lookup() : make_host_request();
  const bool is_version = dynamic_cast<const VersionInFlight*>(request.get()) != nullptr;
  const Reply reply = replies[draw(is_version ? 4 : 5)];
  request->start(server_);
  request->ends_with = code_of(reply);
  members_.push_back({std::move(request), reply, draw(4) == 0, time_.now().tv_sec});
}

std::unique_ptr<RequestInFlight> Crowd::make_lookup() {
  auto made = std::make_unique<LookupInFlight>(next_number());
  made->lookup.then = [this] { read_in_callback(); };
  return made;
}

std::unique_ptr<RequestInFlight> Crowd::make_host_request() {
  std::unique_ptr<HostRequest> made;
  if (draw(2) == 0) {
    made = std::make_unique<VersionInFlight>(next_number());
  } else {
    made = std::make_unique<StepInFlight>(next_number());
  }
  handles_.push_back(made.get());
  return made;
}

// Each request's replies, in a random order among the others'; one in five final replies comes twice.
void Crowd::plan_replies() {
  for (std::size_t i = 0; i < members_.size(); ++i)
    plan_.insert(plan_.end(), 1 + (members_[i].interim ? 1 : 0) + (draw(5) == 0 ? 1 : 0), i);
  for (std::size_t i = plan_.size(); i > 1; --i)
    std::swap(plan_[i - 1], plan_[draw(static_cast<unsigned>(i))]);
}

void Crowd::send_next() {
  if (plan_.empty()) return;
  Member& member = members_[plan_.back()];
  plan_.pop_back();
  if (member.interim) {
    member.request->reply_interim(server_);
    member.interim = false;
  } else {
    member.request->reply(server_, member.reply);
    member.ended = true;
  }
}

void Crowd::send_some() {
  for (unsigned left = draw(5); left > 0; --left)
    send_next();
}

// Bursts, each read by functions drawn by lot and then to the last datagram.
void Crowd::send_until(std::size_t left) {
  while (plan_.size() > left) {
    for (std::size_t burst = 1 + draw(largest_burst); burst > 0 && plan_.size() > left; --burst)
      send_next();
    for (unsigned reads = draw(20); reads > 0; --reads)
      read();
    loop_.run_ready();
  }
}

void Crowd::read() {
  switch (draw(14)) {
    case 0:
      return poll_one();
    case 1:
      return wait_for_one();
    case 2:
      return look_up_blocking();
    case 3:
      return ask_version();
    case 4:
      return abandon_one();
    case 5:
      EXPECT_EQ(SSO_ExpireLookups(0xffffffff), 0u);
      return;
    case 6:
    case 7:
    case 8:
    case 9:
      pop_and_tell(server_.address_number());
      return;
    default:
      loop_.run();
  }
}

void Crowd::poll_one() {
  HostRequest* request = outstanding();
  if (request == nullptr) return;
  const int result = TAVASyncStatus(&request->async, 0);
  if (request->async.Request == nullptr) request->tell(result);
}

// Its answer is on the socket already or is sent in one of the waits.
void Crowd::wait_for_one() {
  HostRequest* request = outstanding();
  if (request == nullptr) return;
  time_.on_wait([this](int, timeval) { send_next(); });
  request->tell(TAVASyncStatus(&request->async, 1));
  time_.on_wait({});
}

void Crowd::look_up_blocking() {
  BlockingLookup lookup(next_number());
  constexpr Reply replies[] = {Reply::answer, Reply::no_entry, Reply::error, Reply::wrong_digest};
  const Reply reply = replies[draw(4)];
  lookup.look_up(server_, time_, [&] {
    send_some();
    lookup.reply(server_, reply);
    send_some();
  });
  lookup.ends_with = code_of(reply);
  lookup.expect_told();
}

void Crowd::ask_version() {
  bool served = false;
  time_.on_wait([&](int, timeval) {
    if (std::exchange(served, true)) return;
    const auto request = server_.receive();
    send_some();
    server_.reply_version(request, 77);
  });
  unsigned version = 0;
  EXPECT_EQ(TAVQueryVersion(server_.address_number(), &version), 1);
  EXPECT_EQ(version, 77u);
  time_.on_wait({});
}

void Crowd::abandon_one() {
  HostRequest* request = outstanding();
  if (request == nullptr || draw(4) != 0) return;
  EXPECT_EQ(request->give_up(), 1);
}

void Crowd::read_in_callback() {
  if (quiet_ || depth_ == deepest || draw(4) != 0) return;
  ++depth_;
  read();
  --depth_;
}

// With nothing left on the socket, the look-ups in flight are those whose final reply was not sent.
void Crowd::expire_older() {
  quiet_ = true;
  drain(server_.address_number(), loop_);
  const time_t now = time_.now().tv_sec;
  const time_t limit = draw(static_cast<unsigned>(members_.size()));
  unsigned count = 0;
  for (Member& member : members_) {
    const bool is_lookup = dynamic_cast<const LookupInFlight*>(member.request.get()) != nullptr;
    if (!is_lookup || member.ended || now - member.started <= limit) continue;
    member.request->ends_with = 4;
    ++count;
  }
  EXPECT_EQ(SSO_ExpireLookups(static_cast<unsigned>(limit * 1000)), count);
  quiet_ = false;
}

// One of those not told yet; null when the lot fell on one that was.
HostRequest* Crowd::outstanding() {
  if (handles_.empty()) return nullptr;
  HostRequest* request = handles_[draw(static_cast<unsigned>(handles_.size()))];
  return request->async.Request == nullptr ? nullptr : request;
}

}  // namespace tavtest
