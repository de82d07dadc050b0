#include "audio/output/audio_output.h"

#include <algorithm>
#include <thread>

#include "audio/output/output_format.h"
#include "base/last_error.h"
#include "platform/file.h"
#include "platform/thread.h"

namespace tervo::audio {
namespace {

constexpr std::chrono::seconds longestPause{3};
constexpr TextView exclusiveFailure = u"Could not enable audio device exclusive mode";

}  // namespace

AudioOutput::AudioOutput(platform::AudioRequest request, Opener opener)
    : request_(std::move(request)), opener_(std::move(opener)) {}

AudioOutput::~AudioOutput() {
  close();
}

bool AudioOutput::open() {
  const State now = state();
  if (now == State::open) return true;
  if (now == State::lost) close();
  device_ = opener_(request_);
  if (!device_) return false;
  mixer_ = std::make_shared<Mixer>(device_->format(), device_->bufferFrames());
  seenBuffers_ = 0;
  seenAt_ = std::chrono::steady_clock::now();
  if (device_->start(mixer_)) return true;
  device_.reset();
  return false;
}

void AudioOutput::close() {
  if (mixer_)
    for (const auto& source : sources_) mixer_->detach(*source);
  sources_.clear();
  if (!device_) return;
  // A system that does not answer would not answer this either; its thread is left behind with what it may still touch.
  if (isStuck()) {
    // Where no thread is to be had, it is never given back.
    std::thread ending;
    const auto end = [stuck = device_.release()] { std::unique_ptr<platform::AudioDevice>{stuck}; };
    if (platform::startThread(ending, end)) ending.detach();
  } else {
    device_.reset();
  }
  mixer_.reset();
}

bool AudioOutput::openFor(TextView failure) {
  if (open()) return true;
  cause_ = LastErrorText();
  // A file says more than that it could not be opened.
  if (const Text said = platform::systemErrorCause(); cause_ == u"Could not open file" && !said.empty()) cause_ = said;
  return cause_ == exclusiveFailure ? false : fail(failure);
}

platform::VolumeRange AudioOutput::volumeRange() const {
  return volumeRangeOf(*device_);
}

void AudioOutput::dropFinished() {
  std::erase_if(sources_, [&](const auto& source) {
    if (!source->isFinished()) return false;
    mixer_->detach(*source);
    return true;
  });
}

bool AudioOutput::attach(std::shared_ptr<AudioSource> source) {
  dropFinished();
  if (!mixer_->attach(*source)) return fail(u"Too many sounds play at once");
  sources_.push_back(std::move(source));
  return true;
}

void AudioOutput::detach(const AudioSource& source) {
  if (mixer_) mixer_->detach(source);
  std::erase_if(sources_, [&](const auto& each) { return each.get() == &source; });
}

bool AudioOutput::isPlaying(const AudioSource& source) const {
  return !source.isFinished() &&
         std::any_of(sources_.begin(), sources_.end(), [&](const auto& each) { return each.get() == &source; });
}

bool AudioOutput::isStuck() {
  const auto now = std::chrono::steady_clock::now();
  const uint32_t buffers = mixer_->buffersFilled();
  if (buffers != seenBuffers_) {
    seenBuffers_ = buffers;
    seenAt_ = now;
  }
  return now - seenAt_ > longestPause;
}

AudioOutput::State AudioOutput::state() {
  if (!device_) return State::closed;
  // A file waits however long a buffer takes.
  return device_->isLost() || (device_->keepsTime() && isStuck()) ? State::lost : State::open;
}

bool AudioOutput::finish() {
  if (!device_) return true;
  // A device that stops may drop the buffer that it has just been given: only silence may be lost.
  const uint32_t last = mixer_->buffersFilled() + 2;
  while (state() == State::open && static_cast<int32_t>(mixer_->buffersFilled() - last) < 0)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  // A device that is gone can say why, one that is stuck would not even answer.
  const bool wasLost = state() == State::lost, answers = !wasLost || device_->isLost();
  bool done = answers && device_->finish();
  if (wasLost && (done || !answers)) done = fail(u"The audio device was lost");
  close();
  return done;
}

}  // namespace tervo::audio
