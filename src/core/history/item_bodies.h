#pragma once
// The serialised body of every kind of item, each described once for writing and reading. A body is versioned by the
// program version in the header of the file that it stands in, and by nothing else: fields may be added or moved when
// that version changes.

#include <limits>
#include <memory>
#include <utility>

#include "core/history/body_reader.h"
#include "core/history/body_writer.h"

namespace tervo::bodies {

// What the model and its readers allow; numbers are converted to integers without asking again.
inline constexpr float finite = std::numeric_limits<float>::max();
inline constexpr double farthestFrame = 9007199254740992;  // 2^53: every whole frame up to there has a number
inline constexpr double highestRate = 4294967295;          // what a WAV file can state
inline constexpr uint8_t highestMidi = 127;

template <typename Archive, typename AnyTags>
void tags(Archive& a, AnyTags& tags) {
  for (auto& text : tags.texts) a.text(text);
  a.picture(tags.image);
}

template <typename Archive, typename Markers>
void markers(Archive& a, Markers& markers) {
  a.list(markers, [&](auto& marker) {
    a.choice(marker.type, MarkerType::loop);
    a.text(marker.name);
    a.number(marker.start, -farthestFrame, farthestFrame);
    a.number(marker.end, -farthestFrame, farthestFrame);
    a.choice(marker.loopType, LoopType::alternating);
    a.number(marker.loopCount);
    a.number(marker.loopPitch, -finite, finite);
    a.number(marker.foreignId);
  });
}

template <typename Archive, typename Chunks>
void foreignChunks(Archive& a, Chunks& chunks) {
  a.list(chunks, [&](auto& chunk) {
    a.fourCC(chunk.container);
    a.fourCC(chunk.id);
    a.flag(chunk.beforeSamples);
    a.stretch(chunk);
  });
}

// `T` is the kind of item, const when it is written.
template <typename T, typename Kind>
concept Is = std::is_same_v<std::remove_const_t<T>, Kind>;

template <typename Archive, Is<Waveform> T>
void body(Archive& a, T& waveform) {
  a.text(waveform.name);
  a.samples(waveform.samples);
  a.number(waveform.sampleRate, 1.0, highestRate);
  a.number(waveform.rootKey, uint8_t{0}, highestMidi);
  a.number(waveform.fineTune, -100.0f, 100.0f);
  a.number(waveform.gain, -finite, finite);
  a.number(waveform.storedFormat);
  a.number(waveform.storedBits, 0, 65535);
  a.choice(waveform.coding, SampleCoding::compressed320);
  a.number(waveform.preferredFormat, uint8_t{0}, uint8_t{21});
  markers(a, waveform.markers);
  tags(a, waveform.tags);
  foreignChunks(a, waveform.foreignChunks);
}

template <typename Archive, Is<Synth> T>
void body(Archive& a, T& synth) {
  a.text(synth.engine);
  a.bytes(synth.patch);
}

template <typename Archive, Is<Region> T>
void body(Archive& a, T& region) {
  a.reference(region.waveform);
  a.parameters(region.trigger);
  a.parameters(region.articulation);
}

template <typename Archive, Is<Track> T>
void body(Archive& a, T& track) {
  a.text(track.name);
  a.bytes(track.data);
  a.optionalNumber(track.sequenceNumber);
  a.flag(track.isControlTrack);
}

template <typename Archive, Is<Layer> T>
void body(Archive& a, T& layer);

/// Children with their identifiers.
template <typename Kind, typename Archive, typename Parent, typename Children>
void children(Archive& a, Parent& parent, const Children& existing) {
  if constexpr (Archive::isReading) {
    for (uint32_t left = a.count(); left > 0 && a.ok(); --left) {
      auto child = std::make_unique<Kind>();
      a.identity(*child);
      body(a, *child);
      parent.add(std::move(child));
    }
  } else {
    a.list(existing, [&](const auto& child) {
      a.identity(*child);
      body(a, std::as_const(*child));
    });
  }
}

template <typename Archive, Is<Layer> T>
void body(Archive& a, T& layer) {
  a.parameters(layer.trigger);
  a.parameters(layer.articulation);
  children<Region>(a, layer, layer.regions());
}

template <typename Archive, Is<Instrument> T>
void body(Archive& a, T& instrument) {
  a.text(instrument.name);
  a.flag(instrument.drum);
  a.number(instrument.program, uint8_t{0}, highestMidi);
  a.number(instrument.bankMsb, uint8_t{0}, highestMidi);
  a.number(instrument.bankLsb, uint8_t{0}, highestMidi);
  a.parameters(instrument.articulation);
  children<Layer>(a, instrument, instrument.layers());
  if constexpr (Archive::isReading) {
    bool present = false;
    a.flag(present);
    if (!present || !a.ok()) return;
    Synth& synth = instrument.set(std::make_unique<Synth>());
    a.identity(synth);
    body(a, synth);
  } else {
    const Synth* synth = instrument.synth();
    a.flag(synth != nullptr);
    if (synth) a.identity(*synth), body(a, *synth);
  }
}

template <typename Archive, Is<Song> T>
void body(Archive& a, T& song) {
  a.text(song.name);
  a.number(song.format, uint16_t{0}, uint16_t{2});
  a.number(song.division);
  children<Track>(a, song, song.tracks());
}

}  // namespace tervo::bodies
