#include "core/waveform.h"

#include <array>

namespace tervo {
namespace {

const Marker* loopNumber(const Waveform& waveform, int number) {
  for (const Marker& marker : waveform.markers) {
    if (marker.type == MarkerType::loop && number-- == 0) return &marker;
  }
  return nullptr;
}

}  // namespace

TextView nameOf(MarkerType type) {
  static constexpr std::array<TextView, 3> names = {u"Position", u"Section", u"Loop"};
  return names[static_cast<std::size_t>(type)];
}

TextView nameOf(LoopType type) {
  static constexpr std::array<TextView, 4> names = {u"Off", u"Forward", u"Reverse", u"Alternating"};
  return names[static_cast<std::size_t>(type)];
}

void Waveform::setStoredFormat(SampleFormat format, uint32_t flags) {
  storedFormat = formatWord(format, flags);
  storedBits = bitsOf(format);
  coding = codingOf(format, coding);
}

void copySound(const Waveform& from, Waveform& to) {
  to.name = from.name;
  to.samples = from.samples;
  to.sampleRate = from.sampleRate;
  to.rootKey = from.rootKey;
  to.fineTune = from.fineTune;
  to.gain = from.gain;
  to.storedFormat = from.storedFormat;
  to.storedBits = from.storedBits;
  to.coding = from.coding;
  to.preferredFormat = from.preferredFormat;
  to.markers = from.markers;
  to.tags = from.tags;
  to.foreignChunks = from.foreignChunks;
}

void Waveform::swapContent(Waveform& other) noexcept {
  name.swap(other.name);
  samples.swap(other.samples);
  std::swap(sampleRate, other.sampleRate);
  std::swap(rootKey, other.rootKey);
  std::swap(fineTune, other.fineTune);
  std::swap(gain, other.gain);
  std::swap(storedFormat, other.storedFormat);
  std::swap(storedBits, other.storedBits);
  std::swap(coding, other.coding);
  std::swap(preferredFormat, other.preferredFormat);
  markers.swap(other.markers);
  std::swap(tags, other.tags);
  foreignChunks.swap(other.foreignChunks);
}

const Marker* mainLoop(const Waveform& waveform) {
  return loopNumber(waveform, 0);
}
const Marker* altLoop(const Waveform& waveform) {
  return loopNumber(waveform, 1);
}

}  // namespace tervo
