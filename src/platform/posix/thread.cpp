#include "platform/thread.h"

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

namespace tervo::platform {
namespace {

// Above desktop programs, below the sound server and its device threads.
constexpr int audioPriority = 60;
constexpr int audioNice = -11;  // what sound servers take for themselves

id_t thisThread() {
  return static_cast<id_t>(gettid());
}

}  // namespace

struct AudioPriority::Before {
  int policy;
  sched_param parameters;
  int nice;
  bool wasScheduled;  ///< else its nice value was changed
};

AudioPriority::AudioPriority() {
  auto before = std::make_unique<Before>();
  if (pthread_getschedparam(pthread_self(), &before->policy, &before->parameters) != 0) return;
  sched_param wanted{};
  wanted.sched_priority = audioPriority;
  before->wasScheduled = pthread_setschedparam(pthread_self(), SCHED_FIFO, &wanted) == 0;
  // On Linux each thread has a nice value of its own.
  before->nice = getpriority(PRIO_PROCESS, thisThread());
  if (before->wasScheduled || setpriority(PRIO_PROCESS, thisThread(), audioNice) == 0) before_ = std::move(before);
}

AudioPriority::~AudioPriority() {
  if (!before_) return;
  if (before_->wasScheduled) {
    pthread_setschedparam(pthread_self(), before_->policy, &before_->parameters);
  } else {
    setpriority(PRIO_PROCESS, thisThread(), before_->nice);
  }
}

void useMultimediaClass(bool) noexcept {}

}  // namespace tervo::platform
