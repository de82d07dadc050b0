#include "tools/song/song_operations.h"

#include <string>

#include "base/last_error.h"
#include "core/midi_events.h"
#include "tools/song/song_tools.h"

namespace tervo {
namespace {

/// Bytes of a track that are no events: behind its end, or behind what cannot be one. What rewrites a track leaves them
/// out.
std::size_t strayBytes(const Track& track) {
  MidiEvents events(track.data);
  while (events.next()) {
  }
  return track.data.size() - events.position();
}

void reportStrayBytes(const Song& song, const Song& changed, ConversionReport& report) {
  const auto before = song.tracks(), after = changed.tracks();
  for (std::size_t i = 0; i < before.size(); ++i) {
    const std::size_t stray = strayBytes(*before[i]);
    const bool isAsItWas = i < after.size() && after[i]->data == before[i]->data;
    if (stray > 0 && !isAsItWas)
      report.add({song.name, u"end of " + before[i]->name, ReportKind::dropped,
                  fromUtf8(std::to_string(stray) + " bytes"), u"they are no events"});
  }
}

Outcome takeOver(Song& song, const std::unique_ptr<Song>& changed, const OperationContext& context) {
  if (!changed) return Outcome::failed;
  reportStrayBytes(song, *changed, context.report);
  song.takeContent(*changed);
  return Outcome::changed;
}

Song& songIn(Item& item) {
  return static_cast<Song&>(item);
}

}  // namespace

Outcome runTranspose(Item& item, const OptionValues& values, const OperationContext& context) {
  const Transposition by{values.integer(u"semitones"), values.integer(u"only"), values.flag(u"drums"),
                         static_cast<OutOfRange>(values.choice(u"beyond"))};
  return takeOver(songIn(item), transposed(songIn(item), by, context), context);
}

Outcome runTrim(Item& item, const OptionValues& values, const OperationContext& context) {
  const TrimRange range{values.number(u"start"), values.number(u"end"), static_cast<TimeUnit>(values.choice(u"unit"))};
  return takeOver(songIn(item), trimmed(songIn(item), range, context), context);
}

Outcome runChangeTickRate(Item& item, const OptionValues& values, const OperationContext& context) {
  static constexpr int frameRates[] = {0, 24, 25, 29, 30};
  const int ticks = values.integer(u"ticks"), frames = frameRates[values.choice(u"frames")];
  if (frames > 0 && ticks > 255) return fail(u"A frame has at most 255 ticks"), Outcome::failed;
  const int division = frames > 0 ? (0x100 - frames) << 8 | ticks : ticks;
  return takeOver(songIn(item), withDivision(songIn(item), static_cast<uint16_t>(division), context), context);
}

Outcome runChangeMidiFormat(Item& item, const OptionValues& values, const OperationContext& context) {
  return takeOver(songIn(item), withFormat(songIn(item), static_cast<int>(values.choice(u"to")), context), context);
}

Outcome runRemoveEvents(Item& item, const OptionValues& values, const OperationContext& context) {
  const Removal removal{values.choices(u"kinds"), values.integer(u"only")};
  return takeOver(songIn(item), withoutEvents(songIn(item), removal, context), context);
}

Outcome runCompact(Item& item, const OptionValues& values, const OperationContext& context) {
  const Compaction what{values.flag(u"note-offs"), values.flag(u"repetitions"), values.flag(u"empty-tracks")};
  return takeOver(songIn(item), compacted(songIn(item), what, context), context);
}

}  // namespace tervo
