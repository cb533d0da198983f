// What a host does right after it was told how its request ended, against the outcome and the call that told
// it. The request is a step of an enumeration; the host also acts on that one, before or after.

#include <arpa/inet.h>

#include "api/host_actions.h"

using namespace tavtest;

namespace {

class ToldHost;

// How the step ends, and the code that the host is told.
struct StepEnd {
  std::string name;
  unsigned code;
  std::function<void(ToldHost&)> bring_about;
};

void PrintTo(const StepEnd& end, std::ostream* out) {
  *out << end.name;
}

using Cell = std::tuple<StepEnd, HostAction>;

// What the host does with its own enumeration, handle and record.
enum class OwnAct { close, step_again };

class ToldHost : public SsoTest, public testing::WithParamInterface<Cell> {
 public:
  void pop(Reply reply) {
    start_all();
    own->reply(server, reply);
    EXPECT_TRUE(pop_and_tell(address()));
  }

  // A wait for something else has read the reply.
  void pop_after_wait(Reply reply) {
    start_all();
    others->due = {[this, reply] { own->reply(server, reply); }};
    unsigned version = 0;
    EXPECT_EQ(TAVQueryVersion(address(), &version), 1);
    EXPECT_TRUE(own->told.empty());
    EXPECT_TRUE(pop_and_tell(address()));
  }

  // It waits itself, and is told by the server to wait a little longer.
  void wait(Reply reply) {
    start_all();
    others->due = {[this] { own->reply_interim(server); }, [this, reply] { own->reply(server, reply); }};
    own->tell(TAVASyncStatus(&own->async, 1));
  }

  void wait_in_vain() {
    start_all();
    others->due = {[] {}};
    own->tell(TAVASyncStatus(&own->async, 1));
  }

  void close_before_answer() {
    start_all();
    own->close();
    own->reply(server);
    EXPECT_TRUE(pop_and_tell(address()));
    own->open(address());
  }

  void fail_to_start() { start_with("127.9.9.9"); }

  // The request has its place among those in flight when sending it fails.
  void fail_to_send() {
    stop();
    configure_unreachable();
    start();
    others->taken = 1;
    start_with(unreachable);
  }

 protected:
  // One telling, in a library of its own, and what the host does then.
  void act(OwnAct own_act, bool own_first) {
    start();
    const StepEnd& end = std::get<0>(GetParam());
    end.bring_about(*this);
    own->ends_with = end.code;
    own->expect_told();

    if (own_first) act_on_own(own_act);
    std::get<1>(GetParam()).act(*others);
    if (!own_first) act_on_own(own_act);

    own->reply(server);  // to the new step; else late, or once more
    others->expect_told();
    expect_own_told(own_act);
    stop();
  }

 private:
  void start() {
    ASSERT_NE(SSO_Init(), nullptr);
    others.emplace(server, time, loop);
    own.emplace(1);
  }

  void stop() {
    own.reset();
    others.reset();
    SSO_Exit();
    restore_load_state();
  }

  void start_all() {
    own->start(server);
    others->start();
  }

  void start_with(const char* queried) {
    others->start();
    own->open(inet_addr(queried));
    own->tell(own->next());
    own->open(address());
  }

  // A step that cannot be sent any more is told at once.
  void act_on_own(OwnAct act) {
    EXPECT_EQ(TAVASyncAbandon(&own->async), 1);  // an empty handle
    if (act == OwnAct::close) return own->close();
    own->told.clear();
    if (!others->exited) return own->start(server);
    own->ends_with = 7;
    own->tell(own->next());
  }

  void expect_own_told(OwnAct act) {
    if (act == OwnAct::step_again && others->exited) own->ends_with = 7;
    if (others->exited && own->async.Request != nullptr) own->tell(TAVASyncStatus(&own->async, 0));
    own->expect_told();
  }

  std::optional<StepInFlight> own;
  std::optional<Bystanders> others;
};

struct Road {
  const char* name;
  void (ToldHost::*take)(Reply);
};

std::vector<StepEnd> step_ends() {
  std::vector<StepEnd> ends = {{"FailedStart", 11, &ToldHost::fail_to_start},
                               {"FailedSend", 12, &ToldHost::fail_to_send},
                               {"Timeout", 4, &ToldHost::wait_in_vain},
                               {"ClosedEnumeration", 17, &ToldHost::close_before_answer}};
  for (const auto& [reply_name, reply] : {std::pair{"Answer", Reply::answer},
                                          {"NoEntry", Reply::no_entry},
                                          {"ErrorReply", Reply::error},
                                          {"WrongDigest", Reply::wrong_digest}}) {
    for (const Road& road : {Road{"Pop", &ToldHost::pop},
                             {"PopAfterWait", &ToldHost::pop_after_wait},
                             {"Status", &ToldHost::wait}}) {
      ends.push_back({std::string(reply_name) + "By" + road.name, code_of(reply),
                      [take = road.take, how = reply](ToldHost& test) { (test.*take)(how); }});
    }
  }
  return ends;
}

std::string cell_name(const testing::TestParamInfo<Cell>& cell) {
  return std::get<0>(cell.param).name + "_" + std::get<1>(cell.param).name;
}

}  // namespace

TEST_P(ToldHost, TellsEveryOwnerOnce) {
  for (const auto& [name, own_act] :
       {std::pair{"closes", OwnAct::close}, {"steps again", OwnAct::step_again}}) {
    for (const bool own_first : {true, false}) {
      SCOPED_TRACE(testing::Message() << name << (own_first ? " before" : " after"));
      act(own_act, own_first);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Matrix, ToldHost,
                         testing::Combine(testing::ValuesIn(step_ends()), testing::ValuesIn(host_actions())),
                         cell_name);
