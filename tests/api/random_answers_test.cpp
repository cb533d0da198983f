// Hundreds of requests at once, answered at random: nothing is lost, mixed up or told twice.

#include "api/crowd.h"

using namespace tavtest;

namespace {

struct CrowdSize {
  const char* name;
  std::size_t requests;
  unsigned rounds;
};

void PrintTo(const CrowdSize& size, std::ostream* out) {
  *out << size.name;
}

class RandomAnswers : public RunningSsoTest, public testing::WithParamInterface<CrowdSize> {};

}  // namespace

TEST_P(RandomAnswers, TellEachOwnerOnce) {
  for (unsigned seed = 1; seed <= GetParam().rounds && !HasFailure(); ++seed) {
    SCOPED_TRACE(seed);
    Crowd(server, time, loop, seed).run(GetParam().requests);
  }
}

INSTANTIATE_TEST_SUITE_P(Of, RandomAnswers,
                         testing::Values(CrowdSize{"Twelve", 12, 60}, CrowdSize{"Hundred", 100, 8},
                                         CrowdSize{"FiveHundred", 500, 2}),
                         ByName());
