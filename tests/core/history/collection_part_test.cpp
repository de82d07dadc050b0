#include "core/history/collection_part.h"

#include <gtest/gtest.h>

namespace tervo {
namespace {

Waveform& addWaveform(Collection& collection, TextView name) {
  auto waveform = std::make_unique<Waveform>();
  waveform->name = name;
  waveform->samples = makeResident(std::vector<float>(10, 0.5f), 1);
  return collection.add(std::move(waveform));
}

TEST(CollectionPart, HoldsWhatIsChosenAndTheWaveformsThatItPlays) {
  Collection whole;
  whole.name = u"Bank";
  const Waveform &played = addWaveform(whole, u"Played"), &other = addWaveform(whole, u"Other");
  addWaveform(whole, u"Not chosen");
  Instrument& piano = whole.add(std::make_unique<Instrument>());
  piano.name = u"Piano";
  Layer& layer = piano.add(std::make_unique<Layer>());
  for (const Waveform* waveform : {&other, &played}) layer.add(std::make_unique<Region>()).waveform = waveform->id();
  whole.add(std::make_unique<Instrument>()).name = u"Not chosen";

  const auto part = partOf(whole, {layer.regions()[1].get()});
  EXPECT_EQ(part->name, u"Bank");
  ASSERT_EQ(part->instruments().size(), 1u);
  const Instrument& copy = *part->instruments()[0];
  EXPECT_EQ(copy.name, u"Piano");
  EXPECT_NE(copy.id(), piano.id());
  ASSERT_EQ(copy.regionCount(), 1u);
  ASSERT_EQ(part->waveforms().size(), 1u);
  EXPECT_EQ(part->waveforms()[0]->name, u"Played");
  EXPECT_EQ(copy.layers()[0]->regions()[0]->waveform, part->waveforms()[0]->id());
  EXPECT_EQ(part->waveforms()[0]->samples, played.samples);

  // Whole instruments and waveforms beside each other, in the order of the document.
  const auto both = partOf(whole, {&other, &piano});
  ASSERT_EQ(both->instruments().size(), 1u);
  EXPECT_EQ(both->instruments()[0]->regionCount(), 2u);
  ASSERT_EQ(both->waveforms().size(), 2u);
  EXPECT_EQ(both->waveforms()[1]->name, u"Other");
}

}  // namespace
}  // namespace tervo
