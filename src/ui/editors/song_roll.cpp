#include "ui/editors/song_roll.h"

#include <QObject>
#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <memory>

#include "core/midi_events.h"
#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

/// Notes that have begun and not ended, the oldest of a key first.
using OpenNotes = std::array<std::deque<std::size_t>, 16 * 128>;

Meter meterOf(const MidiEvent& event) {
  const int beats = static_cast<int>(event.data[0]), power = static_cast<int>(event.data[1]);
  return {event.tick, std::max(beats, 1), 1 << std::min(power, 6)};
}

QString textOfMeta(const MidiEvent& event) {
  // Standard MIDI Files 1.0 asks for ASCII; what is beyond it comes from many code pages.
  return QString::fromLatin1(reinterpret_cast<const char*>(event.data.data()),
                             static_cast<qsizetype>(event.data.size()))
      .trimmed();
}

}  // namespace

SongRoll::SongRoll(const Song& song, std::size_t track) {
  const TickRate rate(song.division);
  ticksPerQuarter_ = rate.isSmpte ? 0 : rate.ticksPerQuarter;
  tempi_.emplace(song, track);
  for (std::size_t i = 0; i < song.tracks().size(); ++i) {
    if (song.format != 2 || i == track) read(*song.tracks()[i], static_cast<int>(i));
  }
  const auto byTick = [](const auto& a, const auto& b) { return a.tick < b.tick; };
  std::stable_sort(notes_.begin(), notes_.end(),
                   [](const RollNote& a, const RollNote& b) { return a.start < b.start; });
  std::stable_sort(marks_.begin(), marks_.end(), byTick);
  std::stable_sort(meters_.begin(), meters_.end(), byTick);
  if (meters_.empty() || meters_.front().tick > 0) meters_.insert(meters_.begin(), Meter{});
  firstBars_.push_back(1);
  for (std::size_t i = 1; i < meters_.size(); ++i) {
    // A meter begins a bar, whether the one before is full or not.
    const double passed = static_cast<double>(meters_[i].tick - meters_[i - 1].tick) / barTicks(meters_[i - 1]);
    firstBars_.push_back(firstBars_.back() + (ticksPerQuarter_ > 0 ? static_cast<int64_t>(std::ceil(passed)) : 0));
  }
  if (notes_.empty()) lowestKey_ = 48, highestKey_ = 72;
}

void SongRoll::read(const Track& track, int index) {
  auto open = std::make_unique<OpenNotes>();
  MidiEvents events(track.data);
  uint64_t end = 0;
  while (const MidiEvent* event = events.next()) {
    end = event->tick;
    if (!event->isNote()) {
      addMark(*event, index);
      continue;
    }
    auto& sounding = (*open)[static_cast<std::size_t>(event->channel()) * 128 + event->key()];
    if (event->isNoteOn()) {
      sounding.push_back(notes_.size());
      notes_.push_back({event->tick, event->tick, index, event->channel(), event->key(), event->value()});
      lowestKey_ = std::min(lowestKey_, event->key());
      highestKey_ = std::max(highestKey_, event->key());
    } else if (!sounding.empty()) {
      notes_[sounding.front()].end = event->tick;
      sounding.pop_front();
    }
  }
  for (const auto& sounding : *open) {
    for (const std::size_t note : sounding) notes_[note].end = end;
  }
  ticks_ = std::max(ticks_, end);
}

void SongRoll::addMark(const MidiEvent& event, int track) {
  QString text;
  if (event.isMeta(MetaType::timeSignature) && event.data.size() >= 2) {
    meters_.push_back(meterOf(event));
    text = QStringLiteral("%1/%2").arg(meters_.back().beats).arg(meters_.back().unit);
  } else if (const auto tempo = tempoOf(event)) {
    text = QObject::tr("%1 bpm").arg(std::round(6e8 / *tempo) / 10);
  } else if (event.kind() == MidiStatus::program) {
    text = QObject::tr("Ch %1: program %2").arg(event.channel() + 1).arg(event.key());
  } else if (event.status == MidiStatus::meta && event.metaType >= MetaType::text &&
             event.metaType <= MetaType::lastText && event.metaType != MetaType::trackName) {
    text = textOfMeta(event);
  }
  if (!text.isEmpty()) marks_.push_back({event.tick, track, textOf(text)});
}

std::size_t SongRoll::meterAt(uint64_t tick) const {
  std::size_t index = meters_.size() - 1;
  while (index > 0 && meters_[index].tick > tick) --index;
  return index;
}

int64_t SongRoll::barAt(std::size_t meter, uint64_t tick) const {
  const double since = static_cast<double>(tick - meters_[meter].tick);
  return firstBars_[meter] + static_cast<int64_t>(std::floor(since / barTicks(meters_[meter])));
}

std::vector<BarLine> SongRoll::bars(uint64_t from, uint64_t to, double leastTicks) const {
  std::vector<BarLine> lines;
  if (ticksPerQuarter_ <= 0 || meters_.empty()) return lines;
  for (std::size_t i = meterAt(from); i < meters_.size() && meters_[i].tick <= to; ++i) {
    const double length = barTicks(meters_[i]);
    int64_t step = 1;
    while (static_cast<double>(step) * length < leastTicks) step *= 2;
    const uint64_t end = i + 1 < meters_.size() ? std::min(meters_[i + 1].tick, to + 1) : to + 1;
    int64_t bar = std::max(barAt(i, std::max(from, meters_[i].tick)), firstBars_[i]);
    // Steps count from the first bar of all, so that scrolling does not move them.
    while ((bar - 1) % step != 0) ++bar;
    for (;; bar += step) {
      const double tick = static_cast<double>(meters_[i].tick) + static_cast<double>(bar - firstBars_[i]) * length;
      if (tick >= static_cast<double>(end)) break;
      lines.push_back({static_cast<uint64_t>(std::llround(tick)), bar});
    }
  }
  return lines;
}

QString SongRoll::place(uint64_t tick) const {
  if (ticksPerQuarter_ <= 0 || meters_.empty()) return {};
  const std::size_t meter = meterAt(tick);
  const int64_t bar = barAt(meter, tick);
  const double barStart = static_cast<double>(meters_[meter].tick) +
                          static_cast<double>(bar - firstBars_[meter]) * barTicks(meters_[meter]);
  const double beat = (static_cast<double>(tick) - barStart) / (ticksPerQuarter_ * 4 / meters_[meter].unit);
  return QStringLiteral("%1.%2").arg(bar).arg(static_cast<int>(beat) + 1);
}

}  // namespace tervo::ui
