#include "core/history/state_file.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tervo
