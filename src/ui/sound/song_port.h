#pragma once
// A song on its way to a MIDI port, in a thread of its own.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "audio/output/song_sender.h"

namespace tervo::ui {

class SongPort {
 public:
  /// From a second of the song. Null with LastErrorText when the port cannot be opened.
  static std::unique_ptr<SongPort> send(TextView port, const Song& song, double from);
  /// Stops at once and ends what sounds.
  ~SongPort();

  bool isOver() const { return isOver_; }
  /// Where in the song it is.
  double seconds() const;

 private:
  SongPort(std::unique_ptr<platform::MidiOutput> port, const Song& song, double from);
  void run();

  std::unique_ptr<platform::MidiOutput> port_;
  audio::SongSender sender_;
  double from_;
  std::chrono::steady_clock::time_point start_;
  std::mutex mutex_;
  std::condition_variable stopped_;
  bool isStopped_ = false;
  std::atomic<bool> isOver_{false};
  std::thread thread_;
};

}  // namespace tervo::ui
