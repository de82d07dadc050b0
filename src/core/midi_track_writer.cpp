#include "core/midi_track_writer.h"

#include <algorithm>

namespace tervo {
namespace {

constexpr uint32_t largestQuantity = 0x0FFFFFFF;

}  // namespace

void MidiTrackWriter::addQuantity(uint32_t value) {
  for (int shift = 21; shift > 0; shift -= 7) {
    if (value >> shift) addByte(static_cast<uint8_t>(0x80 | ((value >> shift) & 0x7F)));
  }
  addByte(static_cast<uint8_t>(value & 0x7F));
}

void MidiTrackWriter::addDelta(uint64_t tick) {
  tick = std::max(tick, tick_);
  while (tick - tick_ > largestQuantity) {
    // Longer than a delta time can be: an empty text stands in between.
    addQuantity(largestQuantity);
    for (const uint8_t byte : {MidiStatus::meta, MetaType::text, uint8_t{0}}) addByte(byte);
    tick_ += largestQuantity;
    lastStatus_ = 0;
  }
  addQuantity(static_cast<uint32_t>(tick - tick_));
  tick_ = tick;
}

void MidiTrackWriter::addStatus(const MidiEvent& event) {
  const bool wanted = event.runsOn || runningStatus_ == RunningStatus::always;
  const bool allowed = event.status == lastStatus_ && !event.data.empty() && event.data[0] < std::byte{0x80};
  if (!wanted || !allowed) addByte(event.status);
  // The standard ends running status with a meta or system-exclusive event.
  lastStatus_ = event.isChannel() ? event.status : 0;
}

void MidiTrackWriter::add(uint64_t tick, const MidiEvent& event) {
  if (event.isMeta(MetaType::endOfTrack)) return;
  addDelta(tick);
  addStatus(event);
  if (event.status == MidiStatus::meta) addByte(event.metaType);
  const bool hasLength = event.status == MidiStatus::meta || event.status == MidiStatus::systemExclusive ||
                         event.status == MidiStatus::escape;
  if (hasLength) addQuantity(static_cast<uint32_t>(event.data.size()));
  bytes_.insert(bytes_.end(), event.data.begin(), event.data.end());
}

std::vector<std::byte> MidiTrackWriter::finish(uint64_t tick) {
  addDelta(tick);
  for (const uint8_t byte : {MidiStatus::meta, MetaType::endOfTrack, uint8_t{0}}) addByte(byte);
  return std::move(bytes_);
}

}  // namespace tervo
