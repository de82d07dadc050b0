#include "audio/output/song_sender.h"

#include "audio/engine/channel.h"
#include "audio/engine/units.h"
#include "audio/render/song_events.h"

namespace tervo::audio {
namespace {

constexpr uint8_t exclusiveEnd = 0xF7;

}  // namespace

SongSender::SongSender(platform::MidiOutput& port, const Song& song) : port_(port) {
  std::vector<uint8_t> exclusive;  // as far as the file has given it
  forEachInTime(song, [&](const MidiEvent& event, double seconds) {
    const auto* data = reinterpret_cast<const uint8_t*>(event.data.data());
    const std::span<const uint8_t> bytes(data, event.data.size());
    if (event.isChannel()) {
      messages_.push_back({seconds, {event.status}});
      messages_.back().bytes.insert(messages_.back().bytes.end(), bytes.begin(), bytes.end());
      return;
    }
    const bool isPart = event.status == MidiStatus::escape && !exclusive.empty();
    if (event.status != MidiStatus::systemExclusive && !isPart) return;
    if (!isPart) exclusive.assign(1, MidiStatus::systemExclusive);
    exclusive.insert(exclusive.end(), bytes.begin(), bytes.end());
    if (exclusive.back() != exclusiveEnd) return;
    messages_.push_back({seconds, std::move(exclusive)});
    exclusive.clear();
  });
}

std::optional<double> SongSender::nextTime() const {
  if (next_ == messages_.size()) return std::nullopt;
  return messages_[next_].seconds;
}

bool SongSender::sendNext() {
  return port_.send(messages_[next_++].bytes);
}

bool SongSender::silence() {
  for (uint8_t channel = 0; channel < midiChannels; ++channel) {
    const auto status = static_cast<uint8_t>(MidiStatus::controller | channel);
    for (const uint8_t controller : {Controller::sustain, Controller::allNotesOff, Controller::allSoundOff}) {
      const uint8_t message[] = {status, controller, 0};
      if (!port_.send(message)) return false;
    }
  }
  return true;
}

}  // namespace tervo::audio
