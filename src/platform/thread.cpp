#include "platform/thread.h"

#include <thread>

namespace tervo::platform {
namespace {

const std::thread::id mainThread = std::this_thread::get_id();

ThreadRole initialRole() {
  return std::this_thread::get_id() == mainThread ? ThreadRole::document : ThreadRole::other;
}
thread_local ThreadRole role = initialRole();

}  // namespace

void setThreadRole(ThreadRole newRole) noexcept {
  role = newRole;
}
ThreadRole currentThreadRole() noexcept {
  return role;
}

}  // namespace tervo::platform
