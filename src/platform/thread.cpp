#include "platform/thread.h"

#include <atomic>
#include <thread>

namespace tervo::platform {
namespace {

const std::thread::id mainThread = std::this_thread::get_id();

ThreadRole initialRole() {
  return std::this_thread::get_id() == mainThread ? ThreadRole::document : ThreadRole::other;
}
thread_local ThreadRole role = initialRole();

std::atomic<int> threadsLeft{-1};

}  // namespace

void setThreadRole(ThreadRole newRole) noexcept {
  role = newRole;
}
ThreadRole currentThreadRole() noexcept {
  return role;
}

void limitThreads(int count) noexcept {
  threadsLeft = count;
}
bool mayStartThread() noexcept {
  if (threadsLeft == 0) return false;
  if (threadsLeft > 0) --threadsLeft;
  return true;
}

}  // namespace tervo::platform
