#include "protocol/request_ids.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

namespace {

// Transports of different threads share the count.
TEST(RequestIds, AreDifferentInEveryThread) {
  constexpr std::size_t each = 5000;
  std::vector<unsigned> ids(4 * each);
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&ids, thread] {
      for (std::size_t i = 0; i < each; ++i)
        ids[thread * each + i] = tavlib::next_request_id();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
  EXPECT_EQ(ids.back() - ids.front(), ids.size() - 1);
}

}  // namespace
