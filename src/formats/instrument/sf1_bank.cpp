#include "formats/instrument/sf1_bank.h"

#include <algorithm>

#include "base/byte_reader.h"
#include "formats/instrument/sf1_zone.h"

namespace tervo::sf2 {
namespace {

struct PositionRecord {
  LittleU32 start, end, loopStart, loopEnd;
};
static_assert(sizeof(PositionRecord) == sf1SampleBytes);

constexpr uint32_t onlyRate = 44100;  // Hz; records say none
constexpr uint8_t middleC = 60;

constexpr RecordName nameOf(std::string_view text) {
  RecordName name{};
  std::copy(text.begin(), text.end(), name.begin());
  return name;
}

std::optional<std::size_t> amountIn(const ZoneRecords& zones, std::size_t bag, std::size_t generator) {
  const std::size_t end = std::min<std::size_t>(zones.bags[bag + 1].firstGenerator, zones.generators.size());
  for (std::size_t i = zones.bags[bag].firstGenerator; i < end; ++i)
    if (zones.generators[i].generator == generator) return i;
  return std::nullopt;
}

void setPitches(Bank& bank) {
  const ZoneRecords& zones = bank.instrumentZones;
  std::vector<bool> isSet(bank.samples.size());
  std::size_t reached = 0;
  for (std::size_t bag = 0; bag + 1 < zones.bags.size(); ++bag) {
    // Bags that run backwards would let a small file ask for endless work.
    if (zones.bags[bag].firstGenerator < reached) continue;
    reached = zones.bags[bag].firstGenerator;
    const auto sample = amountIn(zones, bag, static_cast<std::size_t>(Gen::sampleId));
    const auto pitch = amountIn(zones, bag, samplePitchGenerator);
    if (!sample || !pitch) continue;
    const auto index = static_cast<uint16_t>(int16_t{zones.generators[*sample].amount});
    if (index >= isSet.size() || isSet[index]) continue;
    isSet[index] = true;
    setSamplePitch(bank.samples[index], zones.generators[*pitch].amount);
  }
}

}  // namespace

std::vector<SampleRecord> sf1Samples(std::span<const std::byte> positions, std::span<const std::byte> names) {
  ByteReader positionReader(positions), nameReader(names);
  std::vector<SampleRecord> samples(positions.size() / sizeof(PositionRecord));
  // Samples in the card's ROM come first, and the first in the file starts at 0.
  bool isInRom = true;
  for (SampleRecord& sample : samples) {
    const auto position = positionReader.record<PositionRecord>();
    isInRom = isInRom && position.start != 0u;
    sample.name = nameReader.record<RecordName>();
    sample.start = position.start;
    sample.end = position.end;
    sample.loopStart = position.loopStart;
    sample.loopEnd = position.loopEnd;
    sample.sampleRate = onlyRate;
    sample.rootKey = middleC;
    sample.type = static_cast<uint16_t>(monoSample | (isInRom ? romSample : 0));
  }
  // The last record ends the table, whatever it is called.
  const auto isEnd = [](const SampleRecord& sample) { return nameIn(sample.name) == "EOS"; };
  if (!samples.empty() && std::none_of(samples.begin(), samples.end(), isEnd)) samples.back().name = nameOf("EOS");
  return samples;
}

void finishSf1(Bank& bank) {
  for (ZoneRecords* zones : {&bank.presetZones, &bank.instrumentZones}) {
    for (BagRecord& bag : zones->bags) bag.firstModulator = 0;
    zones->modulators.clear();
  }
  setPitches(bank);
}

}  // namespace tervo::sf2
