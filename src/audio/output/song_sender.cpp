#include "audio/output/song_sender.h"

#include <algorithm>
#include <set>

#include "audio/engine/channel.h"
#include "audio/engine/units.h"
#include "audio/render/song_events.h"

namespace tervo::audio {
namespace {

constexpr uint8_t exclusiveEnd = 0xF7;

bool isOfNote(uint8_t status) {
  const int kind = status & 0xF0;
  return kind == MidiStatus::noteOff || kind == MidiStatus::noteOn || kind == MidiStatus::keyPressure;
}

/// Which value a message sets, when only the last one counts. A bank counts for the program that follows, and
/// registered parameters are steps that belong together.
std::optional<uint16_t> valueSetBy(const std::vector<uint8_t>& message) {
  const int kind = message[0] & 0xF0;
  if (kind == MidiStatus::pitchBend || kind == MidiStatus::channelPressure)
    return static_cast<uint16_t>(message[0] << 8);
  if (kind != MidiStatus::controller || message.size() < 2) return std::nullopt;
  using namespace Controller;
  constexpr uint8_t inOrder[] = {bankMsb,  bankLsb, dataEntry, dataEntry + fine, dataUp,
                                 dataDown, nrpnLsb, nrpnMsb,   rpnLsb,           rpnMsb};
  if (std::find(std::begin(inOrder), std::end(inOrder), message[1]) != std::end(inOrder)) return std::nullopt;
  return static_cast<uint16_t>(message[0] << 8 | message[1]);
}

}  // namespace

SongSender::SongSender(platform::MidiOutput& port, const Song& song, double from) : port_(port) {
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
  if (from > 0) skipTo(from);
}

void SongSender::skipTo(double seconds) {
  const auto first = std::find_if(messages_.begin(), messages_.end(),
                                  [&](const Message& message) { return message.seconds >= seconds; });
  std::vector<Message> result;
  std::set<uint16_t> isSet;
  for (auto it = std::make_reverse_iterator(first); it != messages_.rend(); ++it) {
    const auto value = valueSetBy(it->bytes);
    if (!isOfNote(it->bytes[0]) && (!value || isSet.insert(*value).second)) result.push_back({0, std::move(it->bytes)});
  }
  std::reverse(result.begin(), result.end());
  for (auto it = first; it != messages_.end(); ++it) result.push_back({it->seconds - seconds, std::move(it->bytes)});
  messages_ = std::move(result);
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
