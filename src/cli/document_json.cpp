#include "cli/document_json.h"

#include <charconv>
#include <map>
#include <string>

#include "core/levels.h"
#include "core/parameter_table.h"
#include "formats/format_table.h"

namespace tervo::cli {

using Json = nlohmann::ordered_json;

namespace {

Json tagsJson(const Tags& tags) {
  Json object = Json::object();
  for (std::size_t i = 0; i < tagCount; ++i) {
    const auto tag = static_cast<Tag>(i);
    if (!tags[tag].empty()) object[utf8(nameOf(tag))] = utf8(tags[tag]);
  }
  if (tags.image) object["Image"] = tags.image->mimeType;
  return object;
}

// Regions select a marker by its number.
Json loopJson(const Marker& loop, std::size_t number) {
  return {{"number", number},    {"name", utf8(loop.name)}, {"type", utf8(nameOf(loop.loopType))},
          {"start", loop.start}, {"end", loop.end},         {"count", loop.loopCount}};
}

Json markerJson(const Marker& marker, std::size_t number) {
  return {{"number", number},
          {"name", utf8(marker.name)},
          {"type", marker.type == MarkerType::section ? "Section" : "Position"},
          {"start", marker.start},
          {"end", marker.end}};
}

// Rows by name; the second and later rows of one name are told apart by " #2", " #3".
std::string parameterKey(ParameterId row) {
  static const auto keys = [] {
    std::vector<std::string> made;
    std::map<std::string, int> seen;
    for (int i = 0; i < parameterCount; ++i) {
      std::string key = utf8(rowOf(static_cast<ParameterId>(i)).name);
      const int count = ++seen[key];
      if (count > 1) key += " #" + std::to_string(count);
      made.push_back(std::move(key));
    }
    return made;
  }();
  return keys[static_cast<std::size_t>(row)];
}

Json parametersJson(const ParameterSet& set) {
  Json object = Json::object();
  for (const auto& [row, value] : set.entries()) object[parameterKey(row)] = shortest(value);
  return object;
}

Json regionJson(const Region& region, const std::map<ItemId, std::size_t>& waveformIndex) {
  const auto effective = [&](ParameterId row) { return static_cast<int>(effectiveValue(region, row)); };
  const auto waveform = waveformIndex.find(region.waveform);
  return {{"waveform", waveform == waveformIndex.end() ? Json(nullptr) : Json(waveform->second)},
          {"lowKey", effective(ParameterId::triggerLowKey)},
          {"highKey", effective(ParameterId::triggerHighKey)},
          {"lowVelocity", effective(ParameterId::triggerLowVelocity)},
          {"highVelocity", effective(ParameterId::triggerHighVelocity)},
          {"rootKey", rootKeyOf(region)},
          {"articulation", parametersJson(region.articulation)},
          {"trigger", parametersJson(region.trigger)}};
}

Json instrumentJson(const Instrument& instrument, const std::map<ItemId, std::size_t>& waveformIndex) {
  Json layers = Json::array();
  for (const auto& layer : instrument.layers()) {
    Json regions = Json::array();
    for (const auto& region : layer->regions()) regions.push_back(regionJson(*region, waveformIndex));
    layers.push_back({{"articulation", parametersJson(layer->articulation)},
                      {"trigger", parametersJson(layer->trigger)},
                      {"regions", std::move(regions)}});
  }
  return {{"name", utf8(instrument.name)}, {"drum", instrument.drum},
          {"program", instrument.program}, {"bankMsb", instrument.bankMsb},
          {"bankLsb", instrument.bankLsb}, {"articulation", parametersJson(instrument.articulation)},
          {"layers", std::move(layers)}};
}

}  // namespace

std::string utf8(TextView text) {
  return toUtf8(text);
}

double shortest(float value) {
  char digits[32];
  const auto written = std::to_chars(digits, digits + sizeof digits, value);
  double result = value;
  std::from_chars(digits, written.ptr, result);
  return result;
}

std::string dumped(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json waveformJson(const Waveform& waveform) {
  Json loops = Json::array(), markers = Json::array();
  std::size_t number = 0;
  for (const Marker& marker : waveform.markers) {
    ++number;
    if (marker.type == MarkerType::loop)
      loops.push_back(loopJson(marker, number));
    else
      markers.push_back(markerJson(marker, number));
  }
  return {{"name", utf8(waveform.name)},
          {"sampleRate", waveform.sampleRate},
          {"channels", waveform.channels()},
          {"frames", waveform.frames()},
          {"bits", waveform.storedBits},
          {"sampleFormat", utf8(nameOf(formatOf(waveform.storedFormat)))},
          {"sampleCoding", utf8(nameOf(waveform.coding))},
          {"rootKey", waveform.rootKey},
          {"fineTune", shortest(waveform.fineTune)},
          {"gain", shortest(waveform.gain)},
          {"loops", std::move(loops)},
          {"markers", std::move(markers)},
          {"tags", tagsJson(waveform.tags)}};
}

Json songJson(const Song& song) {
  Json tracks = Json::array();
  for (const auto& track : song.tracks()) {
    const TrackSummary summary = summaryOf(*track);
    tracks.push_back({{"name", utf8(track->name)},
                      {"bytes", track->data.size()},
                      {"hasNotes", trackHasNotes(*track)},
                      {"events", summary.events},
                      {"notes", summary.notes},
                      {"ticks", summary.ticks}});
  }
  return {{"name", utf8(song.name)},
          {"format", song.format},
          {"division", song.division},
          {"seconds", lengthInSeconds(song)},
          {"tracks", std::move(tracks)}};
}

void addDocument(Json& object, const Collection& collection) {
  std::map<ItemId, std::size_t> waveformIndex;
  Json waveforms = Json::array(), instruments = Json::array(), songs = Json::array();
  for (const auto& waveform : collection.waveforms()) {
    waveformIndex[waveform->id()] = waveforms.size();
    waveforms.push_back(waveformJson(*waveform));
  }
  for (const auto& instrument : collection.instruments())
    instruments.push_back(instrumentJson(*instrument, waveformIndex));
  for (const auto& song : collection.songs()) songs.push_back(songJson(*song));
  object["collection"] = {{"name", utf8(collection.name)}, {"tags", tagsJson(collection.tags)}};
  object["waveforms"] = std::move(waveforms);
  object["instruments"] = std::move(instruments);
  object["songs"] = std::move(songs);
}

Json reportJson(const ConversionReport& report) {
  Json entries = Json::array();
  for (const ReportEntry& entry : report.entries()) {
    entries.push_back({{"item", utf8(entry.item)},
                       {"what", utf8(entry.what)},
                       {"kind", utf8(nameOf(entry.kind))},
                       {"from", utf8(entry.from)},
                       {"to", utf8(entry.to)}});
  }
  return entries;
}

nlohmann::ordered_json fileJson(const Text& path, const Collection& collection, std::optional<int> confidence,
                                const ConversionReport& report) {
  nlohmann::ordered_json object = {{"path", utf8(path)}};
  if (const FormatDescriptor* row = rowAt(collection.sourceFormat)) {
    object["format"] = {{"index", collection.sourceFormat},
                        {"extension", utf8(row->extension)},
                        {"description", utf8(row->description)}};
    if (confidence) object["format"]["confidence"] = *confidence;
  }
  addDocument(object, collection);
  object["report"] = reportJson(report);
  return object;
}

}  // namespace tervo::cli
