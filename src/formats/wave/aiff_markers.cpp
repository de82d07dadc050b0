#include "formats/wave/aiff_markers.h"

#include <algorithm>

#include "base/byte_reader.h"

namespace tervo {
namespace {

// What the markers of a loop are called by programs that mean nothing else by it.
constexpr TextView usualNames[] = {
    u"",           u"beg loop",       u"end loop",    u"sust loop begin", u"sust loop end",
    u"begin loop", u"rel loop begin", u"rel loop end"};

constexpr std::size_t leastMarkerBytes = 8;

// What the model takes.
constexpr float mostCents = 100, mostDecibels = 96;

bool isUsual(TextView name) {
  return std::find(std::begin(usualNames), std::end(usualNames), name) != std::end(usualNames);
}

const AiffMarker* markerOf(std::span<const AiffMarker> markers, uint16_t id) {
  const auto found = std::find_if(markers.begin(), markers.end(), [id](const AiffMarker& m) { return m.id == id; });
  return found == markers.end() ? nullptr : &*found;
}

std::optional<Marker> loopOf(const AiffLoop& loop, std::span<const AiffMarker> markers, TextView name) {
  const auto* begin = markerOf(markers, loop.begin);
  const auto* end = markerOf(markers, loop.end);
  if (loop.playMode == AiffPlayMode::none || !begin || !end || begin->position >= end->position) return std::nullopt;
  Marker marker;
  marker.type = MarkerType::loop;
  marker.name = name;
  marker.loopType = loop.playMode == AiffPlayMode::forwardBackward ? LoopType::alternating : LoopType::forward;
  marker.start = begin->position;
  marker.end = end->position;
  return marker;
}

Marker positionOf(const AiffMarker& marker) {
  Marker position;
  position.name = marker.name;
  position.start = marker.position;
  position.end = position.start + 1;
  position.foreignId = marker.id;
  return position;
}

bool isSamePair(const AiffLoop& a, const AiffLoop& b) {
  return a.begin == b.begin && a.end == b.end;
}

// A Pascal string, padded to an even number of bytes.
void writePascal(ByteWriter& writer, std::string_view text) {
  writer.u8(static_cast<uint8_t>(text.size()));
  writer.chars(text);
  if (text.size() % 2 == 0) writer.u8(0);
}

}  // namespace

std::vector<AiffMarker> readAiffMarkers(std::span<const std::byte> body) {
  ByteReader reader(body);
  const std::size_t count = std::min<std::size_t>(reader.big<uint16_t>(), reader.remaining() / leastMarkerBytes + 1);
  std::vector<AiffMarker> markers;
  markers.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    AiffMarker marker;
    marker.id = reader.big<uint16_t>();
    marker.position = reader.big<uint32_t>();
    const std::size_t length = reader.u8();
    if (!reader.ok()) break;
    marker.name = fromFileText(reader.chars(std::min(length, reader.remaining())));
    if (length % 2 == 0) reader.skip(std::min<std::size_t>(1, reader.remaining()));
    markers.push_back(std::move(marker));
  }
  return markers;
}

std::vector<std::byte> makeAiffMarkers(std::span<const AiffMarker> markers) {
  MemorySink sink;
  ByteWriter writer(sink);
  writer.big(static_cast<uint16_t>(markers.size()));
  for (const auto& marker : markers) {
    writer.big(marker.id);
    writer.big(marker.position);
    writePascal(writer, toUtf8(marker.name));
  }
  return sink.take();
}

std::optional<AiffInstrument> readAiffInstrument(std::span<const std::byte> body) {
  ByteReader reader(body);
  const auto instrument = reader.record<AiffInstrument>();
  return reader.ok() ? std::optional(instrument) : std::nullopt;
}

AiffPlayback understandAiff(std::span<const AiffMarker> markers, const std::optional<AiffInstrument>& instrument) {
  AiffPlayback playback;
  std::vector<uint16_t> loopIds;
  const auto addLoop = [&](const AiffLoop& loop, TextView name) {
    const auto made = loopOf(loop, markers, name);
    if (!made) return false;
    playback.markers.push_back(*made);
    loopIds.insert(loopIds.end(), {loop.begin, loop.end});
    return true;
  };
  if (instrument) {
    if (instrument->baseNote < 128) playback.rootKey = instrument->baseNote;
    playback.fineTune = std::clamp<float>(instrument->detune, -mostCents, mostCents);
    playback.gain = std::clamp<float>(instrument->gain, -mostDecibels, mostDecibels);
    const bool sustains = addLoop(instrument->sustain, sustainLoopName);
    if (!sustains || !isSamePair(instrument->sustain, instrument->release))
      addLoop(instrument->release, releaseLoopName);
  }
  for (const auto& marker : markers) {
    if (std::find(loopIds.begin(), loopIds.end(), marker.id) == loopIds.end()) {
      playback.markers.push_back(positionOf(marker));
    } else if (!isUsual(marker.name)) {
      playback.lostNames.push_back(marker.name);
    }
  }
  return playback;
}

bool AiffPlayback::saysTheSameAs(const Waveform& waveform) const {
  return rootKey == waveform.rootKey && fineTune == waveform.fineTune && gain == waveform.gain &&
         markers == waveform.markers;
}

void apply(const AiffPlayback& playback, Waveform& waveform) {
  waveform.rootKey = playback.rootKey;
  waveform.fineTune = playback.fineTune;
  waveform.gain = playback.gain;
  waveform.markers = playback.markers;
}

}  // namespace tervo
