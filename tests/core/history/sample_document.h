#pragma once
// Documents that the tests of undo and saved states work on.

#include <random>

#include "core/collection.h"

namespace tervo::test {

inline std::vector<std::byte> someBytes(std::size_t count, int seed) {
  std::vector<std::byte> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::byte>(static_cast<int>(i) * 37 + seed);
  return bytes;
}

/// Every kind of item, and no field at its default.
inline void fillEveryField(Collection& document) {
  document.name = u"Bank \u00e9\U0001F3B5";
  document.sourceFormat = 392;
  document.tags[Tag::artist] = u"Somebody";
  document.tags.image = std::make_shared<Picture>(Picture{someBytes(77, 3), "image/png"});

  Waveform& wave = document.add(std::make_unique<Waveform>());
  wave.name = u"Piano C4";
  // A signalling not-a-number and a denormal: bits that arithmetic would lose.
  wave.samples = makeResident({0.5f, -1.0f, std::bit_cast<float>(0x7F800001), 1e-40f, 0, 2}, 2);
  wave.sampleRate = 44100.5;
  wave.rootKey = 61;
  wave.fineTune = -12.5f;
  wave.gain = 3;
  wave.setStoredFormat(SampleFormat::pcm24, BigEndian);
  wave.coding = SampleCoding::muLaw;
  wave.preferredFormat = 4;
  wave.markers = {{MarkerType::loop, u"Main", 0.25, 2.75, LoopType::alternating, 7, -0.5f, 9},
                  {MarkerType::section, u"Part", 1, 2, LoopType::off, loopForever, 0, 0}};
  wave.tags[Tag::comments] = u"recorded at home";
  wave.foreignChunks.push_back({"RIFF", "junk", true, std::make_shared<MemorySource>(someBytes(50, 1)), 10, 33});

  Instrument& instrument = document.add(std::make_unique<Instrument>());
  instrument.name = u"Piano";
  instrument.drum = true;
  instrument.program = 1, instrument.bankMsb = 2, instrument.bankLsb = 3;
  instrument.articulation.set(ParameterId::filterCutoff, 1234.5f);
  Layer& layer = instrument.add(std::make_unique<Layer>());
  layer.trigger.set(ParameterId::loopCount, 4);
  layer.articulation.set(ParameterId::masterVolume, -6);
  Region& region = layer.add(std::make_unique<Region>());
  region.waveform = wave.id();
  region.trigger.set(ParameterId::loopCount, 5);
  region.articulation.set(ParameterId::masterTuning, 1);
  layer.add(std::make_unique<Region>());
  Synth& synth = document.add(std::make_unique<Instrument>()).set(std::make_unique<Synth>());
  synth.engine = u"FM";
  synth.patch = someBytes(12, 5);

  Song& song = document.add(std::make_unique<Song>());
  song.name = u"Tune";
  song.format = 2;
  song.division = 0xE728;
  Track& track = song.add(std::make_unique<Track>());
  track.name = u"Control Track";
  track.data = someBytes(20, 9);
  track.sequenceNumber = 3;
  track.isControlTrack = true;
}

}  // namespace tervo::test
