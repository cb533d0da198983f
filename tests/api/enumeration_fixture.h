#ifndef TAVLIB_TESTS_API_ENUMERATION_FIXTURE_H
#define TAVLIB_TESTS_API_ENUMERATION_FIXTURE_H

#include "api/api_fixture.h"

namespace tavtest {

/// Two entries as a server sends them.
inline WireEntry alice() {
  return {.tag = 1,
          .user = u"ALICE",
          .string2 = u"STAFF",
          .string3 = u"TREE",
          .address = 0x0a000001,
          .word13 = 5};
}
inline WireEntry bob() {
  return {.tag = 2, .user = u"BOB", .address = 0x0a000002, .word9 = 9};
}

/// An enumeration of everything, closed at the end.
class EnumerationTest : public InitialisedTest {
 protected:
  EnumerationTest() { EXPECT_EQ(TAVQueryStartW(&everything, 0, 0, address(), 0, &query), 1); }
  ~EnumerationTest() override { TAVQueryClose(query); }

  void close() { TAVQueryClose(std::exchange(query, nullptr)); }

  _TAVENTRYW everything{};
  TAVQueryEnum* query = nullptr;
  _TAVENTRYW wide{};
  _TAVENTRYA narrow{};
  TAVASYNC async{};
};

}  // namespace tavtest

#endif
