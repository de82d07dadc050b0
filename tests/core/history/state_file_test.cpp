#include "core/history/state_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>

#include "base/last_error.h"
#include "tests/core/history/sample_document.h"

namespace tervo {
namespace {

using test::fillEveryField;

std::vector<std::byte> stateOf(const Collection& document) {
  MemorySink sink;
  EXPECT_TRUE(writeState(sink, imageOf(document), nullptr));
  return sink.take();
}

bool load(Collection& document, std::vector<std::byte> bytes) {
  const MemorySource source(std::move(bytes));
  return readState(document, LoadedBytes::load(source), nullptr);
}

TEST(StateFile, BringsEverythingBackUnderItsIdentifiers) {
  std::vector<std::byte> state;
  ItemId waveform, region, track;
  {
    Collection document;
    fillEveryField(document);
    waveform = document.waveforms()[0]->id();
    region = document.instruments()[0]->layers()[0]->regions()[0]->id();
    track = document.songs()[0]->tracks()[0]->id();
    state = stateOf(document);
  }
  Collection loaded;
  ASSERT_TRUE(load(loaded, state));
  EXPECT_EQ(stateOf(loaded), state);

  const Waveform* wave = findItem<Waveform>(waveform);
  ASSERT_EQ(wave, loaded.waveforms()[0].get());
  EXPECT_EQ(wave->name, u"Piano C4");
  EXPECT_EQ(wave->sampleRate, 44100.5);
  EXPECT_EQ(wave->markers[0].loopCount, 7);
  EXPECT_EQ(std::bit_cast<uint32_t>(wave->samples->resident()[2]), 0x7F800001);
  EXPECT_EQ(wave->foreignChunks[0].source->readUpTo(wave->foreignChunks[0].offset, 2, 2),
            (std::vector{std::byte{371 & 0xFF}, std::byte{408 & 0xFF}}));
  EXPECT_EQ(findItem<Region>(region)->waveform, waveform);
  EXPECT_EQ(containingInstrument(region)->articulation.get(ParameterId::filterCutoff), 1234.5f);
  EXPECT_EQ(loaded.instruments()[1]->synth()->engine, u"FM");
  EXPECT_EQ(findItem<Track>(track)->name, u"Control Track");
  EXPECT_EQ(loaded.tags.image->mimeType, "image/png");
}

TEST(StateFile, BeginsWithMagicVersionAndNumberOfRecords) {
  Collection document;
  fillEveryField(document);
  const auto state = stateOf(document);
  // 12.9.0.0 is 12090000, 0x00B87A90; a waveform, two instruments and a song before the collection's own record.
  const uint8_t expected[] = {'T', 'v', 'S', 't', 0x90, 0x7A, 0xB8, 0x00, 5, 0, 0, 0};
  EXPECT_TRUE(std::ranges::equal(std::span(state).first(12), std::as_bytes(std::span(expected))));
}

/// A document, and what must still be in it after a load that failed.
struct Untouched {
  Collection document;
  ItemId waveform = document.add(std::make_unique<Waveform>()).id();
  std::vector<std::byte> before;

  Untouched() {
    document.name = u"mine";
    before = stateOf(document);
  }
  bool holds() const { return stateOf(document) == before && findItem<Waveform>(waveform) != nullptr; }
};

std::vector<std::byte> completeState() {
  Collection document;
  fillEveryField(document);
  return stateOf(document);
}

TEST(StateFile, RefusesOtherFilesAndVersions) {
  const auto state = completeState();
  const auto with = [&](std::size_t at, uint8_t value) {
    auto changed = state;
    changed[at] = std::byte{value};
    return changed;
  };
  auto longer = state;
  longer.push_back({});
  const struct {
    std::vector<std::byte> bytes;
    TextView message;
  } cases[] = {
      {{}, u"Not a program state file"},
      {{std::byte{'T'}, std::byte{'v'}, std::byte{'S'}, std::byte{'t'}}, u"Not a program state file"},
      {with(3, 'T'), u"Not a program state file"},
      {with(4, 0x8F), u"Wrong state version"},  // 12.8.99.99
      {with(4, 0x91), u"Wrong state version"},  // 12.9.0.1
      {with(7, 1), u"Wrong state version"},
      {with(8, 0), u"The program state file is damaged"},  // no record at all
      {with(8, 4), u"The program state file is damaged"},
      {with(8, 6), u"The program state file is damaged"},
      {longer, u"The program state file is damaged"},
  };
  for (const auto& [bytes, message] : cases) {
    Untouched untouched;
    EXPECT_FALSE(load(untouched.document, bytes));
    EXPECT_EQ(LastErrorText(), message) << &message - &cases[0].message;
    EXPECT_TRUE(untouched.holds());
  }
}

TEST(StateFile, DamageOfAnyKindLeavesTheDocumentAlone) {
  const auto state = completeState();
  Untouched untouched;
  for (std::size_t length = 0; length < state.size(); ++length) {
    ASSERT_FALSE(load(untouched.document, {state.begin(), state.begin() + static_cast<std::ptrdiff_t>(length)}))
        << length;
  }
  ASSERT_TRUE(untouched.holds());
  int refused = 0;
  const auto tryLoad = [&](const std::vector<std::byte>& damaged, std::size_t at) {
    Untouched fresh;
    if (load(fresh.document, damaged)) return;
    ++refused;
    ASSERT_TRUE(fresh.holds()) << at;
  };
  for (std::size_t at = 0; at < state.size(); ++at) {
    auto damaged = state;
    damaged[at] ^= std::byte{1} << (at % 8);
    tryLoad(damaged, at);
    // A count or a length that promises all there could be.
    for (std::size_t i = at; i < std::min(at + 4, state.size()); ++i) damaged[i] = std::byte{0xFF};
    tryLoad(damaged, at);
  }
  EXPECT_GT(refused, 100);
}

TEST(StateFile, RefusesNumbersThatNoDocumentHas) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
  const std::function<void(Waveform&, Instrument&, Region&)> cases[] = {
      [](auto& wave, auto&, auto&) { wave.sampleRate = nan; },
      [](auto& wave, auto&, auto&) { wave.sampleRate = -1; },
      [](auto& wave, auto&, auto&) { wave.sampleRate = 1e12; },
      [](auto& wave, auto&, auto&) { wave.rootKey = 128; },
      [](auto& wave, auto&, auto&) { wave.fineTune = 101; },
      [](auto& wave, auto&, auto&) { wave.gain = static_cast<float>(infinity); },
      [](auto& wave, auto&, auto&) { wave.preferredFormat = 22; },
      [](auto& wave, auto&, auto&) { wave.markers[0].start = nan; },
      [](auto& wave, auto&, auto&) { wave.markers[1].end = 1e300; },
      [](auto& wave, auto&, auto&) { wave.markers[0].loopPitch = static_cast<float>(nan); },
      [](auto&, auto& instrument, auto&) { instrument.program = 128; },
      [](auto&, auto& instrument, auto&) { instrument.bankLsb = 200; },
      [](auto&, auto& instrument, auto&) {
        instrument.articulation.set(ParameterId::filterCutoff, static_cast<float>(nan));
      },
      [](auto&, auto& instrument, auto& region) { region.waveform = instrument.id(); },
      [](auto&, auto&, auto& region) { region.waveform = ItemId{0}; },
  };
  for (const auto& spoil : cases) {
    Collection document;
    fillEveryField(document);
    Instrument& instrument = *document.instruments()[0];
    spoil(*document.waveforms()[0], instrument, *instrument.layers()[0]->regions()[0]);
    Untouched untouched;
    EXPECT_FALSE(load(untouched.document, stateOf(document))) << &spoil - cases;
    EXPECT_TRUE(untouched.holds());
  }
}

/// A state whose waveform, and the region that plays it, have an identifier of this serial number.
std::vector<std::byte> stateWithSerial(uint32_t serial) {
  Collection document;
  fillEveryField(document);
  auto state = stateOf(document);
  const LittleU32 from = static_cast<uint32_t>(document.waveforms()[0]->id()), to = serial;
  const auto fromBytes = std::as_bytes(std::span(&from, 1)), toBytes = std::as_bytes(std::span(&to, 1));
  const auto find = [&](auto begin) { return std::search(begin, state.end(), fromBytes.begin(), fromBytes.end()); };
  for (auto found = find(state.begin()); found != state.end(); found = find(found + 4))
    std::copy(toBytes.begin(), toBytes.end(), found);
  return state;
}

TEST(StateFile, CannotUseUpTheIdentifiers) {
  Collection loaded;
  EXPECT_FALSE(load(loaded, stateWithSerial(0)));
  const ItemId before = Waveform().id();
  ASSERT_TRUE(load(loaded, stateWithSerial(0x0FFFFFFF)));
  EXPECT_GT(Waveform().id(), before);
  EXPECT_EQ(loaded.instruments()[0]->layers()[0]->regions()[0]->waveform, loaded.waveforms()[0]->id());
}

TEST(StateFile, ItemsWhoseIdentifiersAreTakenGetNewOnesAndStayConnected) {
  Collection other;
  fillEveryField(other);
  Collection loaded;
  ASSERT_TRUE(load(loaded, stateOf(other)));
  const ItemId waveform = loaded.waveforms()[0]->id();
  EXPECT_NE(waveform, other.waveforms()[0]->id());
  EXPECT_EQ(findItem<Waveform>(other.waveforms()[0]->id()), other.waveforms()[0].get());
  EXPECT_EQ(loaded.instruments()[0]->layers()[0]->regions()[0]->waveform, waveform);
}

}  // namespace
}  // namespace tervo
