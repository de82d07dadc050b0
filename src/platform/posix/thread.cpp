#include "platform/thread.h"

#include <pthread.h>
#include <sched.h>

namespace tervo::platform {
namespace {

// Above desktop programs, below the sound server and its device threads.
constexpr int audioPriority = 60;

}  // namespace

struct AudioPriority::Before {
  int policy;
  sched_param parameters;
};

AudioPriority::AudioPriority() {
  auto before = std::make_unique<Before>();
  if (pthread_getschedparam(pthread_self(), &before->policy, &before->parameters) != 0) return;
  sched_param wanted{};
  wanted.sched_priority = audioPriority;
  if (pthread_setschedparam(pthread_self(), SCHED_FIFO, &wanted) == 0) before_ = std::move(before);
}

AudioPriority::~AudioPriority() {
  if (before_) pthread_setschedparam(pthread_self(), before_->policy, &before_->parameters);
}

}  // namespace tervo::platform
