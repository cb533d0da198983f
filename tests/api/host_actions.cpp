#include "api/host_actions.h"

#include <arpa/inet.h>

namespace tavtest {
namespace {

constexpr std::uint32_t fresh = 6;  // the number of a blocking look-up

void nothing(Bystanders& /*others*/) {}

void look_up_blocking(Bystanders& /*others*/) {
  expect_blocking_lookup(fresh);
}

// Another look-up's answer arrives first. Its callback runs before the blocking look-up returns, or within a
// callback once that has returned.
void look_up_blocking_reading_others(Bystanders& others) {
  others.due = {[&] { others.lookup.reply(others.server); }, [&] { others.step.reply(others.server); },
                [&] { others.version.reply(others.server); }};
  expect_blocking_lookup(fresh);
  others.lookup.ends_with = 0;
}

void look_up(Bystanders& others) {
  others.nested.start(others.server);
}

void look_up_in_vain(Bystanders& others) {
  const unsigned long gateway = std::exchange(g_SsoServer, inet_addr("127.9.9.9"));
  others.nested.lookup.start(others.nested.number());
  g_SsoServer = gateway;
  others.nested.ends_with = 11;
  others.nested.expect_told();
}

void expire_others(Bystanders& others) {
  others.time.advance(std::chrono::hours(1));
  others.expired += SSO_ExpireLookups(0);
  others.lookup.ends_with = 4;
}

void abandon_others(Bystanders& others) {
  EXPECT_EQ(others.version.give_up(), 1);
  EXPECT_EQ(others.step.give_up(), 1);
}

// The same enumeration, handle and record again.
void abandon_and_step_again(Bystanders& others) {
  EXPECT_EQ(others.step.give_up(), 1);
  others.step.start(others.server);
}

void close_enumeration(Bystanders& others) {
  others.step.close();
  others.step.ends_with = 17;
}

void run_loop(Bystanders& others) {
  others.version.reply(others.server);
  others.lookup.reply(others.server);
  others.step.reply(others.server);
  EXPECT_EQ(others.loop.run_ready(), 3);
  EXPECT_EQ(others.loop.run(9), 9);  // with nothing to read
  others.lookup.ends_with = 0;
  others.lookup.expect_told();
}

// The look-up's answer is kept for the layer.
void pop_others(Bystanders& others) {
  others.lookup.reply(others.server);
  others.version.reply(others.server);
  others.step.reply(others.server);
  EXPECT_FALSE(pop_and_tell(others.server.address_number()));
  EXPECT_TRUE(pop_and_tell(others.server.address_number()));
  EXPECT_TRUE(pop_and_tell(others.server.address_number()));
  others.version.expect_told();
  others.step.expect_told();
  others.lookup.ends_with = 0;
}

void wait_for_another(Bystanders& others) {
  others.due = {[&] { others.lookup.reply(others.server); }, [&] { others.version.reply(others.server); }};
  others.version.tell(TAVASyncStatus(&others.version.async, 1));
  others.version.expect_told();
  others.lookup.ends_with = 0;
}

void add_entry(Bystanders& others) {
  others.due = {[&] { others.step.reply(others.server); }, [&] { others.lookup.reply(others.server); }};
  const _TAVENTRYA entry{};
  EXPECT_EQ(TAVAddEntryA(&entry), others.taken);
  others.lookup.ends_with = 0;
}

void leave_behind(Bystanders& others) {
  others.exited = true;
  others.lookup.ends_with = std::nullopt;
  others.version.ends_with = others.step.ends_with = 7;
}

void exit_layer(Bystanders& others) {
  SSO_Exit();
  leave_behind(others);
}

// The library stays up, because the host initialised it, too.
void exit_layer_only(Bystanders& others) {
  EXPECT_EQ(TAVInitialize(), 1);
  SSO_Exit();
  others.lookup.ends_with = std::nullopt;
}

void exit_library(Bystanders& others) {
  TAVExit();
  leave_behind(others);
}

void init_again(Bystanders& /*others*/) {
  EXPECT_NE(SSO_Init(), nullptr);
}

void exit_and_init(Bystanders& others) {
  exit_layer(others);
  EXPECT_NE(SSO_Init(), nullptr);
  look_up_blocking(others);
}

void exit_give_up_and_init(Bystanders& others) {
  exit_layer(others);
  others.step.close();
  EXPECT_TRUE(failed_with(7, others.step.give_up()));
  EXPECT_NE(SSO_Init(), nullptr);
  EXPECT_TRUE(failed_with(7, others.version.give_up()));
  others.nested.start(others.server);
}

const std::vector<HostAction> actions = {
    {"Nothing", nothing},
    {"BlockingLookup", look_up_blocking},
    {"BlockingLookupThatReadsOthers", look_up_blocking_reading_others},
    {"AsynchronousLookup", look_up},
    {"LookupThatCannotStart", look_up_in_vain},
    {"Expire", expire_others},
    {"Abandon", abandon_others},
    {"AbandonAndStepAgain", abandon_and_step_again},
    {"CloseEnumeration", close_enumeration},
    {"RunLoop", run_loop},
    {"Pop", pop_others},
    {"Wait", wait_for_another},
    {"AddEntry", add_entry},
    {"LayersExit", exit_layer},
    {"LayersExitOnly", exit_layer_only},
    {"LibrarysExit", exit_library},
    {"InitAgain", init_again},
    {"ExitAndInit", exit_and_init},
    {"ExitGiveUpAndInit", exit_give_up_and_init},
};

}  // namespace

Bystanders::Bystanders(FakeServer& gateway, FakeTime& clock, HostLoop& host_loop)
    : server(gateway), time(clock), loop(host_loop) {
  // Polls wait for nothing.
  time.on_wait([this](int, timeval timeout) {
    if (timeout.tv_sec != 0) serve_wait();
  });
}

void Bystanders::start() {
  lookup.start(server);
  version.start(server);
  step.start(server);
}

void Bystanders::serve_wait() {
  if (!due.empty()) {
    const auto act = std::move(due.front());
    due.pop_front();
    return act();
  }
  const auto request = server.receive();
  if (request.code() == TAV_REQUEST_QUERYENTRY) {
    server.reply_entry(request, numbered_entry(get_be32(request.packet, 60)));
  } else {
    server.reply_version(request, 1);
  }
}

void Bystanders::expect_told() {
  for (const RequestInFlight* request :
       {static_cast<RequestInFlight*>(&lookup), static_cast<RequestInFlight*>(&version),
        static_cast<RequestInFlight*>(&step), static_cast<RequestInFlight*>(&nested)})
    request->reply(server);
  drain(server.address_number(), loop);
  for (HostRequest* request : {static_cast<HostRequest*>(&version), static_cast<HostRequest*>(&step)}) {
    if (exited && request->async.Request != nullptr) request->tell(TAVASyncStatus(&request->async, 0));
    request->expect_told();
  }
  lookup.expect_told();
  nested.expect_told();
  if (g_ServerList != nullptr) {
    EXPECT_EQ(requests_held(), 0u);
  }
}

void PrintTo(const HostAction& action, std::ostream* out) {
  *out << action.name;
}

const std::vector<HostAction>& host_actions() {
  return actions;
}

}  // namespace tavtest
