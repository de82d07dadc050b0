#pragma once
// The events of a track, one after another, as the body of an "MTrk" chunk holds them (Standard MIDI Files 1.0). This
// is the only place that knows how they are laid out; whoever needs events walks them with MidiEvents.
//
//     MidiEvents events(track.data);
//     while (const auto event = events.next()) ...

#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo {

/// Status bytes; those of channel messages with the channel in the low 4 bits.
namespace MidiStatus {
inline constexpr uint8_t noteOff = 0x80, noteOn = 0x90, keyPressure = 0xA0, controller = 0xB0, program = 0xC0,
                         channelPressure = 0xD0, pitchBend = 0xE0, systemExclusive = 0xF0, escape = 0xF7, meta = 0xFF;
}

/// Types of meta events. 0x01 to 0x0F are text.
namespace MetaType {
inline constexpr uint8_t sequenceNumber = 0x00, text = 0x01, trackName = 0x03, lyric = 0x05, cuePoint = 0x07,
                         lastText = 0x0F, channelPrefix = 0x20, port = 0x21, endOfTrack = 0x2F, tempo = 0x51,
                         smpteOffset = 0x54, timeSignature = 0x58, keySignature = 0x59;
}

struct MidiEvent {
  uint64_t tick = 0;                ///< since the start of the track
  uint8_t status = 0;               ///< the one in effect: never a data byte
  uint8_t metaType = 0;             ///< of a meta event
  bool runsOn = false;              ///< its status byte is left out: that of the channel message before counts
  std::span<const std::byte> data;  ///< of a channel message 1 or 2 bytes; else what follows the length

  bool isChannel() const { return status < MidiStatus::systemExclusive; }
  bool isMeta(uint8_t type) const { return status == MidiStatus::meta && metaType == type; }
  bool isNote() const { return status >= MidiStatus::noteOff && status < MidiStatus::keyPressure; }
  /// A note-on with velocity 0 is a note-off.
  bool isNoteOn() const { return kind() == MidiStatus::noteOn && value() > 0; }
  uint8_t kind() const { return isChannel() ? status & 0xF0 : status; }
  uint8_t channel() const { return status & 0x0F; }
  /// The first data byte of a channel message (key, controller, program) and the second one, 0..127.
  uint8_t key() const { return low(0); }
  uint8_t value() const { return low(1); }

 private:
  uint8_t low(std::size_t index) const {
    return index < data.size() ? static_cast<uint8_t>(data[index]) & 0x7F : uint8_t{0};
  }
};

/// Why a walk stopped before an end of track or the end of the data.
enum class MidiFault : uint8_t { none, cutOff, quantityTooLong, noStatus };

/// Walks a track. It stops behind the end-of-track event, which it delivers, at the end of the data, and at the first
/// thing that cannot be an event. Running status goes on across meta and system-exclusive events, as files in the wild
/// expect. System common and real-time messages, which have no place in a file, are passed with the length they have on
/// a cable.
class MidiEvents {
 public:
  explicit MidiEvents(std::span<const std::byte> track) : bytes_(track) {}

  /// The next event, which is there until the next call; its data belongs to the track. Null at the end.
  const MidiEvent* next() {
    if (ended_ || position_ == bytes_.size()) return nullptr;
    ended_ = !readDelta() || !readStatus() || !readData();
    if (ended_) return nullptr;
    ended_ = event_.isMeta(MetaType::endOfTrack);
    return &event_;
  }

  /// Behind the last event that was delivered; where the fault is when there is one.
  std::size_t position() const { return position_; }
  MidiFault fault() const { return fault_; }

 private:
  bool fail(MidiFault fault) {
    fault_ = fault;
    return false;
  }
  bool has(std::size_t count) { return count <= bytes_.size() - position_ || fail(MidiFault::cutOff); }
  uint8_t peek() const { return static_cast<uint8_t>(bytes_[position_]); }

  bool readDelta() {
    uint32_t delta = 0;
    if (!readQuantity(delta)) return false;
    event_.tick += delta;
    return true;
  }
  /// 7 bits a byte, the high bit set on all but the last, at most 4 bytes.
  bool readQuantity(uint32_t& value) {
    for (int i = 0; i < 4; ++i) {
      if (!has(1)) return false;
      const uint8_t byte = peek();
      ++position_;
      value = (value << 7) | (byte & 0x7F);
      if (byte < 0x80) return true;
    }
    return fail(MidiFault::quantityTooLong);
  }
  bool readStatus() {
    if (!has(1)) return false;
    const uint8_t byte = peek();
    event_.runsOn = byte < 0x80;
    if (event_.runsOn && runningStatus_ == 0) return fail(MidiFault::noStatus);
    event_.status = event_.runsOn ? runningStatus_ : byte;
    if (event_.runsOn) return true;
    ++position_;
    if (event_.isChannel()) runningStatus_ = byte;
    return true;
  }
  bool readData() {
    if (event_.isChannel()) {
      const bool single = event_.kind() == MidiStatus::program || event_.kind() == MidiStatus::channelPressure;
      return take(single ? 1 : 2);
    }
    if (event_.status == MidiStatus::meta) {
      if (!has(1)) return false;
      event_.metaType = peek();
      ++position_;
    } else if (event_.status != MidiStatus::systemExclusive && event_.status != MidiStatus::escape) {
      return take(systemCommonBytes(event_.status));
    }
    uint32_t length = 0;
    return readQuantity(length) && take(length);
  }
  /// Quarter frame and song select have one data byte, song position two.
  static std::size_t systemCommonBytes(uint8_t status) {
    return status == 0xF2 ? 2 : status == 0xF1 || status == 0xF3 ? 1 : 0;
  }
  bool take(std::size_t count) {
    if (!has(count)) return false;
    event_.data = bytes_.subspan(position_, count);
    position_ += count;
    return true;
  }

  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;
  MidiEvent event_;
  uint8_t runningStatus_ = 0;
  bool ended_ = false;
  MidiFault fault_ = MidiFault::none;
};

}  // namespace tervo
