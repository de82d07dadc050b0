#include "core/collection.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>

namespace tervo {
namespace {

/// One instrument of two layers with a region each, both playing the one waveform; one song of one track.
struct Document {
  Collection collection;
  Waveform& wave = collection.add(std::make_unique<Waveform>());
  Instrument& instrument = collection.add(std::make_unique<Instrument>());
  Layer& first = instrument.add(std::make_unique<Layer>());
  Layer& second = instrument.add(std::make_unique<Layer>());
  Region& low = first.add(std::make_unique<Region>());
  Region& high = second.add(std::make_unique<Region>());
  Song& song = collection.add(std::make_unique<Song>());
  Track& track = song.add(std::make_unique<Track>());

  Document() { low.waveform = high.waveform = wave.id(); }
};

TEST(Item, IdentifierTellsTheKindAndIsUnique) {
  Document document;
  const Item* items[] = {&document.collection, &document.wave, &document.instrument, &document.first, &document.second,
                         &document.low,        &document.high, &document.song,       &document.track};
  std::vector<uint32_t> serials;
  for (const Item* item : items) {
    EXPECT_EQ(static_cast<uint32_t>(item->id()) >> 28, static_cast<uint32_t>(item->kind()));
    EXPECT_EQ(findItem(item->id()), item);
    serials.push_back(static_cast<uint32_t>(item->id()) & 0x0FFFFFFF);
  }
  std::sort(serials.begin(), serials.end());
  EXPECT_EQ(std::adjacent_find(serials.begin(), serials.end()), serials.end());
  EXPECT_EQ(findItem<Waveform>(document.song.id()), nullptr);
  EXPECT_EQ(findItem(noItem), nullptr);
}

TEST(Item, KnowsWhatContainsIt) {
  Document document;
  for (const ItemId id : {document.low.id(), document.first.id(), document.instrument.id()})
    EXPECT_EQ(containingInstrument(id), &document.instrument);
  EXPECT_EQ(containingInstrument(document.track.id()), nullptr);
  EXPECT_EQ(containingSong(document.track.id()), &document.song);
  EXPECT_EQ(containing<Layer>(document.high.id()), &document.second);
}

TEST(Collection, RemovingTakesEverythingBelowOutOfTheMap) {
  Document document;
  const ItemId low = document.low.id(), high = document.high.id(), track = document.track.id();
  const ItemId layer = document.second.id();
  document.collection.remove(low);
  EXPECT_EQ(findItem(low), nullptr);
  EXPECT_TRUE(document.first.regions().empty());
  EXPECT_EQ(findItem(high), &document.high);
  document.collection.remove(document.instrument.id());
  EXPECT_EQ(findItem(layer), nullptr);
  EXPECT_EQ(findItem(high), nullptr);
  document.collection.remove(track);
  EXPECT_FALSE(document.song.holdsData());
  document.collection.remove(track);
  EXPECT_EQ(document.collection.songs().size(), 1u);
}

TEST(Collection, ADeletedWaveformLeavesItsRegions) {
  Document document;
  const ItemId wave = document.wave.id();
  document.collection.remove(wave);
  EXPECT_EQ(document.low.waveform, wave);
  EXPECT_EQ(findItem<Waveform>(document.low.waveform), nullptr);
}

TEST(Collection, RemovesNothingOfAnotherCollection) {
  Document mine, other;
  mine.collection.remove(other.low.id());
  mine.collection.remove(other.collection.id());
  EXPECT_EQ(other.first.regions().size(), 1u);
}

TEST(Collection, AbsorbsBehindItsOwnAndKeepsIdentifiers) {
  Document mine, other;
  const Collection& merged = mine.collection;
  mine.collection.absorb(other.collection);
  ASSERT_EQ(merged.instruments().size(), 2u);
  EXPECT_EQ(merged.waveforms()[0].get(), &mine.wave);
  EXPECT_EQ(merged.waveforms()[1].get(), &other.wave);
  EXPECT_EQ(findItem(other.low.waveform), merged.waveforms()[1].get());
  EXPECT_EQ(containing<Collection>(other.low.id()), &merged);
  EXPECT_FALSE(other.collection.holdsData());
  mine.collection.absorb(mine.collection);
  EXPECT_EQ(merged.songs().size(), 2u);
}

TEST(Collection, ClearsToANewOne) {
  Document document;
  const ItemId region = document.low.id();
  document.collection.name = u"Strings";
  document.collection.tags[Tag::artist] = u"Somebody";
  document.collection.sourceFormat = 392;
  document.collection.clear();
  EXPECT_EQ(findItem(region), nullptr);
  EXPECT_EQ(document.collection.name, u"New collection");
  EXPECT_TRUE(document.collection.tags[Tag::artist].empty());
  EXPECT_EQ(document.collection.sourceFormat, -1);
}

TEST(Collection, HoldsDataOnlyThroughItsItems) {
  Collection collection;
  Instrument& instrument = collection.add(std::make_unique<Instrument>());
  Layer& layer = instrument.add(std::make_unique<Layer>());
  collection.add(std::make_unique<Waveform>());
  collection.add(std::make_unique<Song>());
  EXPECT_FALSE(collection.holdsData());
  layer.add(std::make_unique<Region>());
  EXPECT_TRUE(collection.holdsData());
}

TEST(Instrument, PacksItsNumbers) {
  Instrument instrument;
  instrument.program = 127;
  instrument.bankLsb = 1;
  instrument.bankMsb = 2;
  EXPECT_EQ(packedNumber(instrument), 0x7Fu | 0x80u | 0x8000u);
  instrument.drum = true;
  instrument.bankMsb = 0x82;  // a field never reaches into the next one
  EXPECT_EQ(packedNumber(instrument), 0x7Fu | 0x80u | 0x8000u | 0x200000u);
}

TEST(Tags, KnowsPicturesByTheirFirstBytes) {
  const auto mime = [](std::string_view text) { return mimeTypeOf(std::as_bytes(std::span(text))); };
  EXPECT_EQ(mime("\xFF\xD8\xFF\xE0\1\2"), "image/jpeg");
  EXPECT_EQ(mime("\x89PNG\r\n\x1A\n...."), "image/png");
  EXPECT_EQ(mime("GIF89a"), "image/gif");
  EXPECT_EQ(mime("GIF8"), "");
  EXPECT_EQ(mime("BM6\3"), "");
}

TEST(ParameterSet, StaysSortedAndSparse) {
  ParameterSet set, other;
  for (const int row : {24, 1, 188, 0}) set.set(ParameterId(row), static_cast<float>(row));
  set.set(ParameterId(1), 7);
  set.erase(ParameterId(188));
  set.erase(ParameterId(2));
  using Entry = ParameterSet::Entry;
  EXPECT_THAT(set.entries(), testing::ElementsAre(Entry{ParameterId(0), 0.f}, Entry{ParameterId(1), 7.f},
                                                  Entry{ParameterId(24), 24.f}));
  EXPECT_EQ(set.get(ParameterId(2)), std::nullopt);
  for (const int row : {1, 0, 24}) other.set(ParameterId(row), row == 1 ? 7.f : static_cast<float>(row));
  EXPECT_EQ(set, other);
}

TEST(ParameterSet, CopiesThatShareEntriesGoTheirOwnWays) {
  std::mt19937 random(1);
  std::array<ParameterSet, 4> sets;
  std::array<std::map<ParameterId, float>, 4> expected;
  for (int round = 0; round < 5000; ++round) {
    const std::size_t i = random() % 4, j = random() % 4;
    const auto row = ParameterId(random() % 40);
    switch (random() % 5) {
      case 0:
        sets[i] = sets[j], expected[i] = expected[j];
        break;
      case 1:
        sets[i].erase(row), expected[i].erase(row);
        break;
      case 2:
        if (i != j) sets[i] = std::move(sets[j]), expected[i] = std::exchange(expected[j], {});
        break;
      default:
        sets[i].set(row, static_cast<float>(round)), expected[i][row] = static_cast<float>(round);
    }
    for (std::size_t k = 0; k < 4; ++k)
      ASSERT_TRUE(std::equal(sets[k].entries().begin(), sets[k].entries().end(), expected[k].begin(), expected[k].end(),
                             [](const auto& a, const auto& b) { return a.first == b.first && a.second == b.second; }))
          << round;
    ASSERT_EQ(sets[i] == sets[j], expected[i] == expected[j]) << round;
  }
}

}  // namespace
}  // namespace tervo
