// What stands in a bank that was written: by the layout and the units of the format, not by reading it as a document.

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

#include "base/byte_reader.h"
#include "core/levels.h"
#include "core/parameter_table.h"
#include "formats/instrument/sf2_articulation.h"
#include "formats/instrument/sf2_bank.h"
#include "formats/instrument/sf2_tables.h"
#include "tests/formats/flow_fixture.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

using P = ParameterId;
using sf2::Gen;

/// A document with waveforms of 64 frames, for instruments to be built in.
struct Document {
  Collection collection;

  explicit Document(int waveforms = 1) {
    collection.name = u"Bank";
    for (int i = 0; i < waveforms; ++i) add(u"Wave " + fromUtf8(std::to_string(i)), std::vector<float>(64, 0.25f));
  }
  Waveform& add(const Text& name, std::vector<float> frames, int channels = 1) {
    return collection.add(waveformNamed(name, std::move(frames), channels));
  }
  Instrument& instrument(TextView name) {
    auto& made = collection.add(std::make_unique<Instrument>());
    made.name = name;
    return made;
  }
  /// A region that says all that a bank says anyway.
  Region& region(Layer& layer, std::size_t waveform = 0) const {
    Region& made = layer.add(std::make_unique<Region>());
    made.waveform = collection.waveforms()[waveform]->id();
    made.articulation = sf2::articulationOf(sf2::instrumentDefaults());
    return made;
  }
  Region& regionOf(Instrument& instrument, std::size_t waveform = 0) const {
    return region(instrument.add(std::make_unique<Layer>()), waveform);
  }
};

struct Records {
  WrittenBank written;
  std::unique_ptr<sf2::Bank> bank;

  explicit Records(const Item& item, SaveOptions options = {}) : written(writeBank(item, options)) {
    Tags tags;
    LossTally losses;
    if (written.ok) bank = sf2::loadBank(std::make_shared<MemorySource>(written.bytes), tags, losses);
  }
  /// What the zone says; nothing where it does not.
  static std::optional<int> amount(const sf2::ZoneRecords& zones, std::size_t bag, Gen generator) {
    const std::size_t end =
        bag + 1 < zones.bags.size() ? std::size_t{zones.bags[bag + 1].firstGenerator} : zones.generators.size();
    for (std::size_t i = zones.bags[bag].firstGenerator; i < end; ++i)
      if (zones.generators[i].generator == static_cast<uint16_t>(generator)) return zones.generators[i].amount;
    return std::nullopt;
  }
  std::optional<int> instrumentAmount(std::size_t bag, Gen generator) const {
    return amount(bank->instrumentZones, bag, generator);
  }
  std::optional<int> presetAmount(std::size_t bag, Gen generator) const {
    return amount(bank->presetZones, bag, generator);
  }
  std::vector<int> words(std::size_t first, std::size_t count) const {
    std::vector<int> values;
    ByteReader reader(std::span(written.bytes).subspan(bank->samplesAt + 2 * first));
    while (values.size() < count) values.push_back(reader.little<int16_t>());
    return values;
  }
};

TEST(Sf2Writer, layersThatDifferInAddedAmountsOrRangesShareAnInstrument) {
  Document document;
  for (const TextView name : {u"One", u"Two"}) {
    Instrument& instrument = document.instrument(name);
    document.regionOf(instrument);
    document.regionOf(instrument).articulation.set(P::masterVolume, -4);
    document.regionOf(instrument).trigger.set(P::triggerLowKey, 60);
    document.regionOf(instrument).trigger.set(P::keyExclusionGroup, 3);
  }
  const Records records(document.collection);
  ASSERT_TRUE(records.bank);
  EXPECT_EQ(records.bank->presets.size(), 2u);
  ASSERT_EQ(records.bank->instruments.size(), 2u);
  EXPECT_EQ(sf2::nameIn(records.bank->instruments[0].name), "One");
  EXPECT_EQ(sf2::nameIn(records.bank->instruments[1].name), "One/4");
  ASSERT_EQ(records.bank->presetZones.bags.size(), 9u);  // four zones each, and the end's
  for (const std::size_t bag : {0u, 4u}) {
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(records.presetAmount(bag + i, Gen::instrument), int{i == 3});
    EXPECT_EQ(records.presetAmount(bag + 1, Gen::attenuation), 100);  // of 0.04 dB
    EXPECT_EQ(records.presetAmount(bag + 2, Gen::keyRange), sf2::rangeAmount(60, 127));
  }
  // A zone says only what is not usual: the samples, the group, and the end's.
  EXPECT_EQ(records.bank->instrumentZones.generators.size(), 4u);
  EXPECT_EQ(records.bank->instrumentZones.modulators.size(), 1u);
}

TEST(Sf2Writer, rowsOfAnInstrumentStandInGlobalZones) {
  Document document;
  Instrument& instrument = document.instrument(u"I");
  instrument.articulation.set(P::panPosition, 0.5f);     // set again below: 250
  instrument.articulation.set(P::masterVolume, -8);      // inherited: 200
  instrument.articulation.set(P::velocityToVolume, 20);  // inherited: 500
  Layer& layer = instrument.add(std::make_unique<Layer>());
  for (const float pan : {-0.2f, 1.0f}) {
    Region& region = document.region(layer);
    region.articulation.set(P::panPosition, pan);
    for (const P row : {P::masterVolume, P::velocityToVolume}) region.articulation.erase(row);
  }
  const Records records(document.collection);
  ASSERT_TRUE(records.bank);
  ASSERT_EQ(records.bank->presetZones.bags.size(), 3u);
  EXPECT_EQ(records.presetAmount(0, Gen::pan), 250);
  EXPECT_FALSE(records.presetAmount(0, Gen::instrument));
  EXPECT_FALSE(records.presetAmount(1, Gen::pan));
  ASSERT_EQ(records.bank->instrumentZones.bags.size(), 4u);
  EXPECT_EQ(records.instrumentAmount(0, Gen::attenuation), 200);
  EXPECT_EQ(records.instrumentAmount(1, Gen::pan), -100 - 250);
  EXPECT_EQ(records.instrumentAmount(2, Gen::pan), 500 - 250);
  EXPECT_FALSE(records.instrumentAmount(1, Gen::attenuation));
  // The global zone's modulator alone; concave, so that it takes the place of the default one.
  ASSERT_EQ(records.bank->instrumentZones.modulators.size(), 2u);
  const auto& modulator = records.bank->instrumentZones.modulators[0];
  EXPECT_EQ(modulator.source, 0x502);
  EXPECT_EQ(modulator.destination, 48);
  EXPECT_EQ(modulator.amount, 500);
}

// The row, its value, and the modulator or the generator (source 0) that says it.
struct AmountCase {
  P row;
  float value;
  int source, destination, amount;
};
const AmountCase amountCases[] = {
    {P::vEnvVelocityToAttack2Time, 2, 514, 34, 600},  // 600 log2 f
    {P::vEnvKeyToReleaseTime, 2, 515, 38, 6400},      // 1200 log2 f^5.3333
    {P::vEnvKeyToDecay2Time, 2, 0, 40, -100},
    {P::keyToVolume, 3, 515, 48, 400},      // 133.33
    {P::modWheelToVolume, 2, 129, 48, 50},  // 25 each dB
    {P::cc10ToPan, -1, 650, 17, -500},
    {P::keyToPan, 1, 515, 17, 2667},  // 2666.67, away from zero
    {P::cc91ToSend1, 1, 219, 16, 1000},
    {P::cc93ToSend3, 0, 221, 15, 0},
    {P::pitchBendToPitch, 12, 526, 52, 1000},
    {P::aftertouchToPLfoToPitch, 0.25f, 13, 6, 25},
    {P::velocityToCutoff, 6, 258, 8, -1200},  // -200
    {P::keyToCutoff, 1.5f, 515, 8, 800},      // 533.33
    {P::send3Level, 0.5f, 0, 15, 500},
    {P::masterTuning, -1.75f, 0, 51, -1},
    {P::masterTuning, -1.75f, 0, 52, -75},
    {P::vEnvSustain, 0.25f, 0, 37, 720},
    {P::pEnvSustain, 0.25f, 0, 29, 750},
    {P::vEnvAttack2Time, 2, 0, 34, 1200},
    {P::keyToPitch, 0.5f, 0, 56, 50},
};

TEST(Sf2Writer, writesRowsInTheUnitsOfTheFormat) {
  for (const AmountCase& each : amountCases) {
    ArticulationSet rows = sf2::articulationOf(sf2::instrumentDefaults());
    rows.set(P::filterType, 2);
    rows.set(each.row, each.value);
    const sf2::ZoneValues values = sf2::zoneValuesOf(rows);
    std::vector<sf2::ModulatorRecord> modulators;
    sf2::appendModulators(values, sf2::instrumentDefaults(), modulators);
    SCOPED_TRACE(toUtf8(rowOf(each.row).name));
    ASSERT_EQ(modulators.size(), each.source == 0 ? 0u : 1u);
    if (each.source == 0) {
      EXPECT_EQ(values[static_cast<Gen>(each.destination)], each.amount);
      continue;
    }
    const auto& [source, destination, amount, amountSource, transform] = modulators[0];
    EXPECT_EQ((std::array<int, 5>{source, destination, amount, amountSource, transform}),
              (std::array<int, 5>{each.source, each.destination, each.amount, 0, 0}));
  }
}

TEST(Sf2Writer, writesWordsOneAfterAnotherWithSilenceBetween) {
  Document document(0);
  document.add(u"A", {0.5f, -1, 2, -0.25f / 32768});
  document.add(u"B", {1.0f / 32768});
  const Records records(document.collection);
  ASSERT_TRUE(records.bank);
  EXPECT_EQ(records.bank->words, 4u + 46 + 1 + 46);
  EXPECT_EQ(records.words(0, 6), (std::vector<int>{16384, -32768, 32767, 0, 0, 0}));
  EXPECT_EQ(records.words(50, 2), (std::vector<int>{1, 0}));
  EXPECT_EQ(records.bank->samples[1].start, 50u);
  EXPECT_EQ(records.bank->samples[1].end, 51u);
  EXPECT_EQ(records.bank->lowBytesAt, 0u);
  const auto& bytes = records.written.bytes;
  EXPECT_EQ(std::to_integer<int>(bytes[32]) * 10 + std::to_integer<int>(bytes[34]), 21);  // "ifil": 2.1
}

TEST(Sf2Writer, writes24BitsAsWordsAndLowBytes) {
  Document document(0);
  const float step = 1.0f / 8388608;
  document.add(u"A", {0.5f, step, -step, -1, 1, -2, 3 * step + 0.25f});
  const Records records(document.collection, {.coding = SampleCoding::pcm24});
  ASSERT_TRUE(records.bank);
  EXPECT_EQ(records.words(0, 7), (std::vector<int>{0x4000, 0, -1, -32768, 32767, -32768, 0x2000}));
  const int low[] = {0, 1, 0xFF, 0, 0xFF, 0, 3, 0};
  for (std::size_t i = 0; i < std::size(low); ++i)
    EXPECT_EQ(std::to_integer<int>(records.written.bytes[records.bank->lowBytesAt + i]), low[i]) << i;
  EXPECT_EQ(records.bank->lowBytes, 7u + 46 + 1);
  // "ifil": 2.4, the engine, the name, the software.
  const std::string head(reinterpret_cast<const char*>(records.written.bytes.data()) + 12, 96);
  using namespace std::string_literals;
  EXPECT_EQ(head.substr(0, 82),
            "LIST\x4A\0\0\0INFOifil\4\0\0\0\2\0\4\0isng\x08\0\0\0EMU8000\0INAM\6\0\0\0Bank\0\0"
            "ISFT\x14\0\0\0Tervo Studio v12.9\0\0"s.substr(0, 82));
}

TEST(Sf2Writer, copiesStoredSamplesBitForBit) {
  for (const bool isWide : {false, true}) {
    BankBuilder builder = smallBank({{{54, 1}}});
    for (int i = 0; isWide && i < 201; ++i) builder.sm24.add(static_cast<uint8_t>(i * 7));
    builder.sample({.name = "Second", .start = 100, .end = 163});
    const Records records(ReadBank(builder.build()).collection);
    ASSERT_TRUE(records.bank);
    const uint64_t start = records.bank->samples[1].start;
    const auto* bytes = records.written.bytes.data();
    EXPECT_EQ(std::memcmp(bytes + records.bank->samplesAt + 2 * start, builder.smpl.bytes().data() + 200, 126), 0);
    ASSERT_EQ(records.bank->lowBytes > 0, isWide);
    if (!isWide) continue;
    EXPECT_EQ(std::memcmp(bytes + records.bank->lowBytesAt + start, builder.sm24.bytes().data() + 100, 63), 0);
  }
}

/// Name, type and link of each sample.
std::string linksOf(const sf2::Bank& bank) {
  std::ostringstream text;
  for (const auto& sample : bank.samples)
    text << sf2::nameIn(sample.name) << ' ' << sample.type << ' ' << sample.link << ", ";
  return text.str();
}

TEST(Sf2Writer, linksTheChannelsOfStereoSounds) {
  Document document(0);
  document.add(u"Both", {0.5f, -0.5f, 0.25f, -0.25f}, 2);
  document.add(u"Pair R", {1, 1, 1});
  document.add(u"Pair L", {1, 1, 1});
  document.add(u"Odd-L", {1, 1, 1});
  document.add(u"Odd-R", {1, 1});
  Region& region = document.regionOf(document.instrument(u"I"));
  region.articulation.set(P::panPosition, 0.2f);
  const Records records(document.collection);
  ASSERT_TRUE(records.bank);
  EXPECT_EQ(linksOf(*records.bank), "Both-L 4 1, Both-R 2 0, Pair R 2 3, Pair L 4 2, Odd-L 1 0, Odd-R 1 0, ");
  EXPECT_EQ(records.words(records.bank->samples[1].start, 2), (std::vector<int>{-16384, -8192}));
  EXPECT_EQ(records.instrumentAmount(0, Gen::pan), -300);  // the left side, moved by twice the region's pan
  EXPECT_EQ(records.instrumentAmount(1, Gen::pan), 500);
  EXPECT_EQ(records.instrumentAmount(1, Gen::sampleId), 1);
}

/// Every row that a bank says, and every marker, as text.
std::string rowsOf(const Collection& collection) {
  std::ostringstream text;
  const auto add = [&text](const ParameterSet& rows) {
    for (const auto& [row, value] : rows.entries()) text << ' ' << indexOf(row) << '=' << value;
  };
  for (const auto& waveform : collection.waveforms())
    for (const Marker& marker : waveform->markers)
      text << marker.start << ' ' << marker.end << ' ' << int{marker.loopCount} << '\n';
  for (const auto& instrument : collection.instruments()) {
    text << packedNumber(*instrument), add(instrument->articulation);
    for (const auto& layer : instrument->layers()) {
      text << "\n layer";
      for (const auto& region : layer->regions()) {
        text << "\n  " << toUtf8(findItem<Waveform>(region->waveform)->name);
        add(region->trigger), add(region->articulation);
      }
    }
  }
  return text.str();
}

// Pairs that names do not show, beside all kinds of zones.
TEST(Sf2Writer, readWrittenAndReadAgainABankIsTheSame) {
  BankBuilder bank;
  bank.sample({.name = "Near", .link = 1, .type = 4}).sample({.name = "Far", .end = 60, .link = 0, .type = 2});
  bank.sample({.name = "A-L", .link = 3, .type = 4}).sample({.name = "A-R", .link = 2, .type = 2});
  bank.sample({.name = "Alone", .start = 70, .end = 190, .loopStart = 80, .loopEnd = 120, .key = 72, .cents = -12});
  const auto low = sf2::rangeAmount(0, 59), high = sf2::rangeAmount(60, 127);
  bank.instrument("Sides apart", {playing(0, {{43, low}, {17, -500}, {54, 1}}), playing(0, {{43, high}, {17, -400}}),
                                  playing(1, {{43, low}, {17, 500}, {54, 1}}), playing(1, {{43, high}, {17, 400}})});
  bank.instrument("Named", {{{{48, 100}}}, playing(2, {{17, -500}}), playing(3, {{17, 500}, {48, 150}})});
  bank.instrument("Alone", {{{{52, 5}, {8, 9000}, {9, 60}}, {{0x502, 48, 480}}},
                            playing(4, {{54, 3}, {2, 6}, {3, -9}}, {{0x81, 8, 300}}),
                            playing(4, {{54, 1}, {0, 10}, {1, -5}, {58, 60}, {57, 3}}, {{515, 38, 640}})});
  bank.preset("Pair", 1, 0, {{{{48, 50}}}, {{{41, 0}}}, {{{44, low}, {48, 20}, {41, 1}}}, {{{51, 12}, {41, 0}}}});
  bank.preset("Drums", 7, 128, {{{{43, high}, {41, 2}}}, {{{41, 1}}}});
  const ReadBank first(bank.build());
  ASSERT_EQ(first.instrument().layers().size(), 3u);
  for (const ReportEntry& entry : first.report.entries()) ADD_FAILURE() << toUtf8(entry.what);
  const Records records(first.collection);
  ASSERT_TRUE(records.bank);
  EXPECT_EQ(rowsOf(ReadBank(records.written.bytes).collection), rowsOf(first.collection));
  EXPECT_EQ(linksOf(*records.bank), "Near 4 1, Far 2 0, A-L 4 3, A-R 2 2, Alone 1 0, ");
}

TEST(Sf2Writer, keepsNumbersAndNamesOfPresets) {
  const struct {
    TextView name;
    bool drum;
    std::string_view written;
  } cases[] = {{u"Twenty letters long.", false, "Twenty letters long."},
               {u"More than twenty letters", false, "More than twenty let"},
               {u"T\u00F6ne", true, "T\xF6ne"},
               {u"\u30C9\u30E9\u30E0\u30C9\u30E9\u30E0\u30C9", false,
                "\xE3\x83\x89\xE3\x83\xA9\xE3\x83\xA0\xE3\x83\x89\xE3\x83\xA9\xE3\x83\xA0"}};
  for (const auto& [name, drum, written] : cases) {
    Document document;
    Instrument& instrument = document.instrument(name);
    instrument.drum = drum;
    instrument.bankMsb = 5;
    instrument.program = 127;
    const Records records(document.collection);
    ASSERT_TRUE(records.bank);
    ASSERT_EQ(records.bank->presets.size(), 1u);
    const auto& preset = records.bank->presets[0];
    EXPECT_EQ(sf2::nameIn(preset.name), written);
    EXPECT_EQ(preset.bank, drum ? 128 : 5);
    EXPECT_EQ(preset.program, 127);
  }
}

TEST(Sf2Writer, savesAnInstrumentOrWaveformsAsABank) {
  Document document(130);
  Waveform& waveform = *document.collection.waveforms()[2];
  waveform.markers.push_back({.type = MarkerType::loop, .start = 8, .end = 40, .loopType = LoopType::forward});
  document.collection.add(waveformNamed(u"Empty", {}));
  // A preset for each, as there are no instruments.
  const Records all(document.collection);
  ASSERT_TRUE(all.bank);
  EXPECT_EQ(all.bank->samples.size(), 131u);
  ASSERT_EQ(all.bank->presets.size(), 130u);
  EXPECT_EQ(all.bank->presets[129].program, 1);
  EXPECT_EQ(all.bank->presets[129].bank, 1);

  const Records sound(waveform);
  ASSERT_TRUE(sound.bank);
  ASSERT_EQ(sound.bank->presets.size(), 1u);
  EXPECT_EQ(sf2::nameIn(sound.bank->presets[0].name), "Wave 2");
  EXPECT_EQ(sound.instrumentAmount(0, Gen::sampleModes), 1);
  EXPECT_EQ(sound.bank->samples[0].loopStart, 8u);
  EXPECT_EQ(sound.bank->samples[0].loopEnd, 40u);

  Instrument& instrument = document.instrument(u"I");
  for (int layer = 0; layer < 2; ++layer) document.regionOf(instrument, 1);
  const Records one(instrument);
  ASSERT_TRUE(one.bank);
  ASSERT_EQ(one.bank->samples.size(), 1u);
  EXPECT_EQ(sf2::nameIn(one.bank->samples[0].name), "Wave 1");
}

TEST(Sf2Writer, takesAsManyParametersAsIndicesReach) {
  // A zone says its sample, a group of its own, a range of keys, and one of velocities if wanted.
  const auto parameters = [](int zones, bool withVelocities, sf2::Packing packing) -> std::size_t {
    const Instrument instrument;
    sf2::PresetPlan preset{&instrument, {}, sf2::presetDefaults(), {{sf2::instrumentDefaults(), {}, true}}};
    for (int i = 0; i < zones; ++i) {
      sf2::ZoneValues& zone = preset.layers[0].zones.emplace_back(sf2::instrumentDefaults());
      zone[Gen::sampleId] = 0;
      zone[Gen::exclusiveClass] = static_cast<int16_t>(i + 1);
      zone[Gen::keyRange] = sf2::rangeAmount(0, 60 + i % 2);
      if (withVelocities) zone[Gen::velocityRange] = sf2::rangeAmount(0, 60 + i % 2);
    }
    sf2::BankTables tables;
    return tables.add(preset, packing) ? tables.instrumentZones().generators.size() : 0;
  };
  using enum sf2::Packing;
  EXPECT_EQ(parameters(21845, false, byLayer), 65535u);
  EXPECT_EQ(parameters(21846, false, byLayer), 0u);
  EXPECT_EQ(parameters(21846, false, byVelocity), 0u);
  EXPECT_EQ(LastErrorText(),
            u"Save failed - Too much data!\n\nThe SF2 file format is by its construction limited to storing a maximum "
            u"of 65536 parameter values...nRemove some instruments then try saving again!\n");
  EXPECT_EQ(parameters(16384, true, byLayer), 0u);
  EXPECT_EQ(parameters(16384, true, byVelocity), 2u * 16384);
}

TEST(Sf2Writer, leavesOutLayersThatNoIndexReaches) {
  const Instrument instrument;
  sf2::ZoneValues zone = sf2::instrumentDefaults();
  zone[Gen::sampleId] = 0;
  const sf2::LayerZones layer{sf2::instrumentDefaults(), {zone}, true};
  sf2::BankTables tables;
  for (const std::size_t layers : {65534u, 2u}) {
    const sf2::PresetPlan preset{&instrument, {}, sf2::presetDefaults(), std::vector<sf2::LayerZones>(layers, layer)};
    EXPECT_TRUE(tables.add(preset, sf2::Packing::byLayer));
    EXPECT_EQ(tables.incomplete().size(), layers == 2 ? 1u : 0u);
  }
  EXPECT_EQ(tables.presetZones().bags.size(), 65535u);
}

TEST(Sf2Writer, warnsOfRegionsThatNoIndexReaches) {
  Document document(0);
  for (int i = 0; i < 32769; ++i) document.add(u"W", {0.5f});
  Instrument& instrument = document.instrument(u"I");
  document.regionOf(instrument, 32768);
  document.regionOf(instrument, 32767);
  const Records records(document.collection);
  ASSERT_TRUE(records.bank);
  EXPECT_EQ(ReadBank(records.written.bytes).instrument().regionCount(), 1u);
  EXPECT_TRUE(says(records.written.report, u"layers and regions"));
}

TEST(Sf2Writer, reportsWhatABankCannotSay) {
  Document document;
  Instrument& instrument = document.instrument(u"I");
  instrument.bankLsb = 3;
  Region& region = document.regionOf(instrument);
  region.articulation.set(P::randomToPitch, 1);
  region.articulation.set(P::masterVolume, 6);
  region.trigger.set(P::triggerType, 1);
  auto& markers = document.collection.waveforms()[0]->markers;
  for (const double start : {0.0, 8.0, 16.0})
    markers.push_back({.type = MarkerType::loop, .start = start, .end = 24, .loopType = LoopType::forward});
  for (const double start : {0.0, 8.0}) markers.push_back({.type = MarkerType::section, .start = start, .end = 24});
  markers[0].loopCount = loopUntilRelease;  // which no region plays
  markers[4].name = u"Section";
  region.trigger.set(P::loopSection, 2);
  region.trigger.set(P::playSection, 5);
  const WrittenBank written = writeBank(document.collection);
  for (const TextView what : {rowOf(P::randomToPitch).name, rowOf(P::triggerType).name, TextView(u"gain above 0 dB"),
                              TextView(u"Minor MIDI bank number"), TextView(u"loops"), TextView(u"sections"),
                              TextView(u"loop count"), TextView(u"names of markers")})
    EXPECT_TRUE(says(written.report, what)) << toUtf8(what);
  EXPECT_EQ(written.report.entries().size(), 8u);
}

// The record of a sample holds where its loop is, and no more; a zone that plays it says until when.
TEST(Sf2Writer, reportsLoopsThatNoRegionPlays) {
  const struct {
    LoopType type;
    uint8_t count;
    TextView said;
    std::size_t whenPlayed;
  } cases[] = {{LoopType::forward, loopForever, {}, 0},
               {LoopType::forward, loopUntilRelease, u"loop count", 0},
               {LoopType::forward, 3, u"loop count", 1},
               {LoopType::alternating, loopForever, u"loop type", 1}};
  for (const auto& [type, count, said, whenPlayed] : cases) {
    Document document;
    document.collection.waveforms()[0]->markers.push_back(
        {.type = MarkerType::loop, .start = 8, .end = 24, .loopType = type, .loopCount = count});
    Region& region = document.regionOf(document.instrument(u"I"));
    EXPECT_EQ(writeBank(document.collection).report.entries().size(), whenPlayed) << int{count};
    region.trigger.set(P::loopSection, 0);
    const WrittenBank unplayed = writeBank(document.collection);
    EXPECT_EQ(unplayed.report.entries().size(), said.empty() ? 0u : 1u) << int{count};
    EXPECT_EQ(says(unplayed.report, said), !said.empty()) << int{count};
  }
}

}  // namespace
}  // namespace tervo::test
