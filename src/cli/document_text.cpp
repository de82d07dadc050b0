#include "cli/document_text.h"

#include <fmt/format.h>

#include "cli/console.h"
#include "core/tempo_map.h"
#include "formats/format_table.h"

namespace tervo::cli {
namespace {

std::string loopText(const Marker& loop) {
  std::string text = ", " + toUtf8(nameOf(loop.loopType));
  if (loop.loopCount == loopUntilRelease) return text + ", until release";
  return loop.loopCount == loopForever ? text : text + fmt::format(", {} times", loop.loopCount);
}

/// With the number by which "--marker" and regions name it.
std::string markerLine(std::size_t number, const Marker& marker) {
  const char* what = marker.type == MarkerType::loop      ? "loop"
                     : marker.type == MarkerType::section ? "section"
                                                          : "marker";
  std::string text = fmt::format("    #{} {} {}", number, what, marker.start);
  if (marker.type != MarkerType::position) text += fmt::format(" to {}", marker.end);
  if (marker.type == MarkerType::loop) text += loopText(marker);
  if (!marker.name.empty()) text += fmt::format(" \"{}\"", printable(marker.name));
  return text + "\n";
}

std::string waveformLines(std::size_t index, const Waveform& waveform) {
  const double seconds = static_cast<double>(waveform.frames()) / waveform.sampleRate;
  std::string text =
      fmt::format("  waveform {}: {}\n    {} Hz, {}, {} frames ({:.3f} s), {}, root key {}", index,
                  printable(waveform.name), waveform.sampleRate, waveform.channels() == 2 ? "stereo" : "mono",
                  waveform.frames(), seconds, printable(nameOf(formatOf(waveform.storedFormat))), waveform.rootKey);
  if (waveform.fineTune != 0) text += fmt::format(", fine tune {} cents", waveform.fineTune);
  if (waveform.gain != 0) text += fmt::format(", gain {} dB", waveform.gain);
  text += "\n";
  for (std::size_t i = 0; i < waveform.markers.size(); ++i) text += markerLine(i + 1, waveform.markers[i]);
  return text;
}

std::string divisionText(uint16_t division) {
  const TickRate rate(division);
  return rate.isSmpte ? fmt::format("{:.6g} ticks per second", rate.ticksPerSecond)
                      : fmt::format("{} ticks per quarter note", division);
}

std::string songLines(std::size_t index, const Song& song) {
  std::string text = fmt::format("  song {}: {}\n    format {}, {}, {:.3f} s, {} tracks\n", index, printable(song.name),
                                 song.format, divisionText(song.division), lengthInSeconds(song), song.tracks().size());
  for (const auto& track : song.tracks()) {
    const TrackSummary summary = summaryOf(*track);
    text += fmt::format("    {}: {} bytes, {} events, {} notes\n", printable(track->name), track->data.size(),
                        summary.events, summary.notes);
  }
  return text;
}

}  // namespace

std::string documentText(const Text& path, const Collection& collection) {
  const FormatDescriptor* row = rowAt(collection.sourceFormat);
  std::string text = fmt::format("{}: {}\n", printable(path), row ? printable(row->description) : "");
  for (std::size_t i = 0; i < tagCount; ++i) {
    const auto tag = static_cast<Tag>(i);
    if (tag != Tag::sourceFile && !collection.tags[tag].empty())
      text += fmt::format("  {}: {}\n", printable(nameOf(tag)), printable(collection.tags[tag]));
  }
  std::size_t index = 0;
  for (const auto& instrument : collection.instruments())
    text += fmt::format("  instrument {}: {}\n", index++, printable(instrument->name));
  index = 0;
  for (const auto& waveform : collection.waveforms()) text += waveformLines(index++, *waveform);
  index = 0;
  for (const auto& song : collection.songs()) text += songLines(index++, *song);
  return text;
}

}  // namespace tervo::cli
