// A host whose linker makes functions of equal code one, so that the address of a function tells nothing.
#include <gtest/gtest.h>

#include "packaging/host_program.h"

namespace tavtest {

class FoldedHost : public HostProgram {};

TEST_F(FoldedHost, KeepsTheContextOfItsRequestsToItself) {
#ifdef FOLDED_HOST
  configure();
  const Outcome outcome = run_redirected("'" FOLDED_HOST "' 10.1.0.11");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.output, "ANNA KVIST\n");
#else
  GTEST_SKIP() << "no linker here folds functions for the host that is built for";
#endif
}

}  // namespace tavtest
