#include <fmt/format.h>

#include "cli/commands.h"
#include "cli/document_json.h"
#include "cli/opening.h"
#include "cli/report_output.h"
#include "core/tempo_map.h"

namespace tervo::cli {
namespace {

const FormatDescriptor* sourceRow(const Collection& collection) {
  if (collection.sourceFormat < 0) return nullptr;
  return &FormatTable()[static_cast<std::size_t>(collection.sourceFormat)];
}

std::string waveformLines(std::size_t index, const Waveform& waveform) {
  const double seconds = static_cast<double>(waveform.frames()) / waveform.sampleRate;
  std::string text =
      fmt::format("  waveform {}: {}\n    {} Hz, {}, {} frames ({:.3f} s), {}, root key {}", index, utf8(waveform.name),
                  waveform.sampleRate, waveform.channels() == 2 ? "stereo" : "mono", waveform.frames(), seconds,
                  utf8(nameOf(formatOf(waveform.storedFormat))), waveform.rootKey);
  if (waveform.fineTune != 0) text += fmt::format(", fine tune {} cents", waveform.fineTune);
  if (waveform.gain != 0) text += fmt::format(", gain {} dB", waveform.gain);
  text += "\n";
  for (const Marker& marker : waveform.markers) {
    const char* what = marker.type == MarkerType::loop      ? "loop"
                       : marker.type == MarkerType::section ? "section"
                                                            : "marker";
    text += fmt::format("    {} {}", what, marker.start);
    if (marker.type != MarkerType::position) text += fmt::format(" to {}", marker.end);
    if (!marker.name.empty()) text += fmt::format(" \"{}\"", utf8(marker.name));
    text += "\n";
  }
  return text;
}

std::string divisionText(uint16_t division) {
  const TickRate rate(division);
  return rate.isSmpte ? fmt::format("{:.6g} ticks per second", rate.ticksPerSecond)
                      : fmt::format("{} ticks per quarter note", division);
}

std::string songLines(std::size_t index, const Song& song) {
  std::string text = fmt::format("  song {}: {}\n    format {}, {}, {:.3f} s, {} tracks\n", index, utf8(song.name),
                                 song.format, divisionText(song.division), lengthInSeconds(song), song.tracks().size());
  for (const auto& track : song.tracks()) {
    const TrackSummary summary = summaryOf(*track);
    text += fmt::format("    {}: {} bytes, {} events, {} notes\n", utf8(track->name), track->data.size(),
                        summary.events, summary.notes);
  }
  return text;
}

std::string documentText(const Text& path, const Collection& collection) {
  const FormatDescriptor* row = sourceRow(collection);
  std::string text = fmt::format("{}: {}\n", utf8(path), row ? utf8(row->description) : "");
  for (std::size_t i = 0; i < tagCount; ++i) {
    const auto tag = static_cast<Tag>(i);
    if (tag != Tag::sourceFile && !collection.tags[tag].empty())
      text += fmt::format("  {}: {}\n", utf8(nameOf(tag)), utf8(collection.tags[tag]));
  }
  std::size_t index = 0;
  for (const auto& instrument : collection.instruments())
    text += fmt::format("  instrument {}: {}\n", index++, utf8(instrument->name));
  index = 0;
  for (const auto& waveform : collection.waveforms()) text += waveformLines(index++, *waveform);
  index = 0;
  for (const auto& song : collection.songs()) text += songLines(index++, *song);
  return text;
}

nlohmann::ordered_json fileJson(const Text& path, const Collection& collection, int confidence,
                                const ConversionReport& report) {
  nlohmann::ordered_json object = {{"path", utf8(path)}};
  if (const FormatDescriptor* row = sourceRow(collection)) {
    object["format"] = {{"index", collection.sourceFormat},
                        {"extension", utf8(row->extension)},
                        {"description", utf8(row->description)},
                        {"confidence", confidence}};
  }
  addDocument(object, collection);
  object["report"] = reportJson(report);
  return object;
}

}  // namespace

int runInfo(const CommandLine& line, Console& console, const Settings& settings) {
  nlohmann::ordered_json all = nlohmann::ordered_json::array();
  int status = exitDone;
  for (const NamedFile& file : line.files) {
    Run run{line, console, settings};
    Collection collection;
    const auto confidence = openFile(run, collection, file);
    if (!confidence) {
      status = run.host.cancelled() ? exitCancelled : exitFailed;
    } else if (line.json) {
      all.push_back(fileJson(file.shown, collection, *confidence, run.report));
    } else {
      console.out(documentText(file.shown, collection));
    }
    if (status == exitCancelled) break;
  }
  if (line.json) console.out(dumped(all));
  return status;
}

}  // namespace tervo::cli
