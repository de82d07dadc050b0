#include "core/labels.h"

#include <fmt/format.h>

#include <algorithm>

namespace tervo {

Text treeLabel(int number, const Instrument& instrument) {
  return fromUtf8(
      fmt::format("{}\t({} layers, {} regions)", number, instrument.layers().size(), instrument.regionCount()));
}

Text treeLabel(int number, const Song& song) {
  return fromUtf8(fmt::format("{}\t({} tracks)", number, song.tracks().size()));
}

Text treeLabel(std::span<const std::unique_ptr<Waveform>> waveforms) {
  double samples = 0;
  for (const auto& waveform : waveforms) samples += static_cast<double>(waveform->frames()) * waveform->channels();
  return fromUtf8(fmt::format("{}\t(total {:.1f}K samples)", waveforms.size(), samples / 1024));
}

TextView markerLabel(const Waveform& waveform, const Marker& marker) {
  if (!marker.name.empty()) return marker.name;
  if (&marker == mainLoop(waveform)) return u"Main Loop";
  return &marker == altLoop(waveform) ? u"Alt Loop" : nameOf(marker.type);
}

Text sampleFormatLabel(std::span<const Waveform* const> waveforms) {
  if (waveforms.empty()) return {};
  const SampleFormat format = formatOf(waveforms.front()->storedFormat);
  const bool same = std::all_of(waveforms.begin(), waveforms.end(), [format](const Waveform* waveform) {
    return formatOf(waveform->storedFormat) == format;
  });
  return same ? Text(nameOf(format)) : u"Mixed";
}

}  // namespace tervo
