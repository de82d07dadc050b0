#include "ui/sound/song_port.h"

#include "base/last_error.h"
#include "platform/thread.h"

namespace tervo::ui {

using Clock = std::chrono::steady_clock;

std::unique_ptr<SongPort> SongPort::send(TextView name, const Song& song, double from) {
  auto port = platform::MidiOutput::open(name);
  if (!port) return nullptr;
  std::unique_ptr<SongPort> sending(new SongPort(std::move(port), song, from));
  if (!platform::startThread(sending->thread_, [&port = *sending] { port.run(); }))
    return fail(u"Could not start a thread");
  return sending;
}

SongPort::SongPort(std::unique_ptr<platform::MidiOutput> port, const Song& song, double from)
    : port_(std::move(port)), sender_(*port_, song, from), from_(from), start_(Clock::now()) {}

SongPort::~SongPort() {
  {
    const std::lock_guard lock(mutex_);
    isStopped_ = true;
  }
  stopped_.notify_all();
  if (thread_.joinable()) thread_.join();
}

double SongPort::seconds() const {
  return from_ + std::chrono::duration<double>(Clock::now() - start_).count();
}

void SongPort::run() {
  while (const auto due = sender_.nextTime()) {
    const auto time = start_ + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(*due));
    std::unique_lock lock(mutex_);
    if (stopped_.wait_until(lock, time, [this] { return isStopped_; })) break;
    lock.unlock();
    if (!sender_.sendNext()) break;
  }
  sender_.silence();
  port_->finish();
  isOver_ = true;
}

}  // namespace tervo::ui
