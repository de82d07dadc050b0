#include "base/ordered_work.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace tervo::test {
namespace {

TEST(OrderedWork, GivesResultsInOrderHoweverLongEachTakes) {
  std::vector<std::size_t> taken;
  const auto make = [](std::size_t i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(i % 3 == 0 ? 3 : 0));
    return i * i;
  };
  EXPECT_TRUE(makeInOrder(50, make, [&](std::size_t i, std::size_t result) {
    EXPECT_EQ(result, i * i);
    taken.push_back(i);
    return true;
  }));
  ASSERT_EQ(taken.size(), 50u);
  EXPECT_TRUE(std::is_sorted(taken.begin(), taken.end()));
}

TEST(OrderedWork, StopsWhereItIsToldTo) {
  std::atomic<std::size_t> made = 0;
  const auto make = [&](std::size_t i) {
    ++made;
    if (i == 4) throw std::runtime_error("four");
    return i;
  };
  EXPECT_FALSE(makeInOrder(1000, make, [](std::size_t i, std::size_t) { return i < 2; }));
  EXPECT_LE(made, 3u + std::thread::hardware_concurrency() + 1);
  EXPECT_THROW(makeInOrder(1000, make, [](std::size_t, std::size_t) { return true; }), std::runtime_error);
}

}  // namespace
}  // namespace tervo::test
