#pragma once
// Work on many things at once whose results are wanted one after another: samples that are decoded or encoded while the
// file that they go into is written.

#include <algorithm>
#include <cstddef>
#include <deque>
#include <future>
#include <system_error>
#include <thread>
#include <type_traits>

namespace tervo {

/// Calls make(i) for 0..count on all processors, and take(i, result) for one after another on the calling thread. At
/// most one result more than there are processors waits at a time. False as soon as take() gives false; what is being
/// made then is waited for. What make() throws is thrown here.
template <typename Make, typename Take>
bool makeInOrder(std::size_t count, Make make, Take take) {
  using Result = std::invoke_result_t<Make, std::size_t>;
  const auto start = [&make](std::size_t i) {
    try {
      return std::async(std::launch::async, std::ref(make), i);
    } catch (const std::system_error&) {  // no thread is to be had
      return std::async(std::launch::deferred, std::ref(make), i);
    }
  };
  const std::size_t ahead = std::max(std::thread::hardware_concurrency(), 1u) + 1;
  std::deque<std::future<Result>> waiting;
  for (std::size_t taken = 0, started = 0; taken < count; ++taken) {
    while (started < count && waiting.size() < ahead) waiting.push_back(start(started++));
    Result result = waiting.front().get();
    waiting.pop_front();
    if (!take(taken, std::move(result))) return false;
  }
  return true;
}

}  // namespace tervo
