#include "formats/save_flow.h"

#include "core/song.h"
#include "formats/stored_samples.h"
#include "tests/formats/flow_fixture.h"

namespace tervo::test {
namespace {

using namespace std::string_literals;

constexpr FormatIndex sb = 377, sf2 = 392, sw = 433, swBig = 434, ulaw = 457, wavRead = 492;

class SaveFlow : public FlowTest {
 protected:
  bool save(const Item& item, FormatIndex row, SaveOptions options = {}) {
    return SaveItem(&item, row, folder.text(u"out"), saving(options));
  }
};

TEST_F(SaveFlow, SaysWhatCannotBeSaved) {
  Waveform empty;
  Collection nothing, bank;
  bank.add(waveformNamed(u"a", {0.5f}));
  Instrument& instrument = bank.add(std::make_unique<Instrument>());
  const Region& region = instrument.add(std::make_unique<Layer>()).add(std::make_unique<Region>());
  const Region lost;
  Song& song = bank.add(std::make_unique<Song>());
  Track& track = song.add(std::make_unique<Track>());
  struct Case {
    const Item* item;
    FormatIndex row;
    TextView message;
  };
  for (const Case& each : {
           Case{&bank, -1, u"Invalid export format selected"},
           Case{&bank, 543, u"Invalid export format selected"},
           Case{&bank, wavRead, u"Invalid export format selected"},
           Case{nullptr, sw, u"No item selected"},
           Case{&lost, sw, u"No item selected"},
           Case{&empty, sw, u"Empty item - nothing to save"},
           Case{&nothing, sw, u"Empty item - nothing to save"},
           Case{&bank, sw, u"The file format can not save this item"},
           Case{&region, sw, u"Failed to render synth to wave"},
           Case{&track, sw, u"Failed to render synth to wave"},
       }) {
    EXPECT_FALSE(SaveItem(each.item, each.row, folder.text(u"out"), saving())) << each.row << toUtf8(each.message);
    EXPECT_EQ(LastErrorText(), each.message) << each.row;
  }
  EXPECT_EQ(folder.count(), 0);
}

TEST_F(SaveFlow, WritesSamplesInTheRowsLayout) {
  const auto waveform = waveformNamed(u"a", {0.5f, -1.0f});
  ASSERT_TRUE(save(*waveform, swBig));
  EXPECT_EQ(folder.get(u"out"), "\x40\x00\x80\x00"s);
  EXPECT_EQ(host.statuses.back(), u"Writing: out");
  EXPECT_FALSE(report.lostSomething());
}

TEST_F(SaveFlow, ReplacesAFileOnlyWhenAllowedAndOnlyByACompleteOne) {
  const auto waveform = waveformNamed(u"a", std::vector<float>(3'000'000, 0.5f));
  folder.put(u"out", "precious");
  EXPECT_FALSE(save(*waveform, sw));
  EXPECT_EQ(LastErrorText(), u"File exists already");

  SaveContext context = saving();
  context.overwrite = Overwrite::allowed;
  host.stepsAllowed = 1;
  EXPECT_FALSE(SaveItem(waveform.get(), sw, folder.text(u"out"), context));
  EXPECT_EQ(LastErrorText(), u"Save aborted!");
  EXPECT_FALSE(SaveItem(waveform.get(), sw, folder.text(u"absent/out"), context));
  EXPECT_EQ(folder.get(u"out"), "precious");
  EXPECT_EQ(folder.count(), 1);

  host.stepsAllowed = 1 << 30;
  EXPECT_TRUE(SaveItem(waveform.get(), sw, folder.text(u"out"), context));
  EXPECT_EQ(folder.get(u"out").size(), 6'000'000u);
}

TEST_F(SaveFlow, ConvertsACopyToTheChannelsAndRateAskedFor) {
  auto waveform = waveformNamed(u"a", {0.5f, 0.25f, 0.5f, 0.25f}, 2);
  ASSERT_TRUE(save(*waveform, sw, {.channels = 1}));
  EXPECT_EQ(folder.get(u"out"), "\x00\x30\x00\x30"s);  // the mean, 0.375
  EXPECT_TRUE(reported(u"channels"));
  EXPECT_EQ(waveform->channels(), 2);

  // A telephone coding is at 8000 Hz unless the user says otherwise.
  const auto longer = waveformNamed(u"b", std::vector<float>(44100), 1);
  std::filesystem::remove(folder / u"out");
  ASSERT_TRUE(save(*longer, ulaw));
  EXPECT_EQ(folder.get(u"out").size(), 8000u);
  EXPECT_EQ(longer->sampleRate, 44100);
  std::filesystem::remove(folder / u"out");
  ASSERT_TRUE(save(*longer, ulaw, {.sampleRate = 44100}));
  EXPECT_EQ(folder.get(u"out").size(), 44100u);
}

TEST_F(SaveFlow, CountsSamplesThatAreNoFiniteNumbers) {
  std::vector<float> frames(1000, 0.25f);
  frames[1] = std::numeric_limits<float>::quiet_NaN();
  frames[500] = std::numeric_limits<float>::infinity();
  Collection bank;
  bank.add(waveformNamed(u"a", frames));
  const Waveform& waveform = *bank.waveforms()[0];
  const auto entry = [&](TextView what) -> Text {
    for (const ReportEntry& each : report.entries())
      if (each.what == what) return each.from + u" " + each.to;
    return u"none";
  };
  const struct {
    const Item* item;
    FormatIndex row;
    SaveOptions options;
    TextView silent, clipped;
  } cases[] = {
      {&waveform, sw, {}, u"1 silent", u"1 clipped"},
      {&waveform, sw, {.sampleRate = 22050}, u"2 silent", u"none"},
      {&bank, sf2, {}, u"1 silent", u"1 clipped"},
      {&bank, sf2, {.sampleRate = 22050}, u"2 silent", u"none"},
  };
  for (const auto& each : cases) {
    report = {};
    std::filesystem::remove(folder / u"out");
    ASSERT_TRUE(save(*each.item, each.row, each.options)) << toUtf8(LastErrorText());
    EXPECT_EQ(entry(u"samples that are no finite numbers"), each.silent) << each.row;
    EXPECT_EQ(entry(u"samples beyond full scale"), each.clipped) << each.row;
  }
}

TEST_F(SaveFlow, RendersSongsForRowsWithoutSongs) {
  Song song;
  song.add(std::make_unique<Track>()).data.push_back(std::byte{0});
  host.rendered.push_back(waveformNamed(u"song", {0.5f, 0.5f, -0.5f, -0.5f}, 2));
  ASSERT_TRUE(save(*song.tracks()[0], sb));
  EXPECT_EQ(folder.get(u"out"), "\x40\x40\xC0\xC0"s);
}

TEST_F(SaveFlow, RendersInstrumentsForRowsOfWaveformsAloneAndNamesSeveralByTheirKeys) {
  Instrument instrument;
  instrument.add(std::make_unique<Layer>()).add(std::make_unique<Region>());
  host.rendered.push_back(waveformNamed(u"one", {0.5f}));
  ASSERT_TRUE(save(instrument, sb));
  EXPECT_EQ(folder.get(u"out"), "\x40"s);
  for (const uint8_t key : {uint8_t{36}, uint8_t{72}}) {
    host.rendered.push_back(waveformNamed(u"one of two", {key == 36 ? 0.5f : -0.5f}));
    host.rendered.back()->rootKey = key;
  }
  ASSERT_TRUE(SaveItem(&instrument, sb, folder.text(u"a.b.sb"), saving()));
  EXPECT_EQ(folder.get(u"a.b 036.sb"), "\x40"s);
  EXPECT_EQ(folder.get(u"a.b 072.sb"), "\xC0"s);
  EXPECT_EQ(folder.count(), 3);
}

TEST_F(SaveFlow, RenderingIsPrecededByASavedStateAndTakenBackWhenItFails) {
  Collection document;
  document.name = u"before";
  Song& song = document.add(std::make_unique<Song>());
  song.add(std::make_unique<Track>());
  const ItemId id = song.id();
  DocumentHistory history(document, host, folder.text(u"states"), openStoredSamples);
  history.edit(document.id(), u"Rename", [&] { document.name = u"after"; });
  SaveContext context = saving();
  context.history = &history;

  EXPECT_FALSE(SaveItem(findItem(id), sw, folder.text(u"out"), context));
  EXPECT_EQ(LastErrorText(), u"Failed to render synth to wave");
  EXPECT_EQ(host.statuses.back(), u"Loaded state");
  EXPECT_EQ(history.states().newest(), -1);
  EXPECT_TRUE(std::filesystem::is_empty(folder / u"states"));
  ASSERT_NE(findItem<Song>(id), nullptr);
  EXPECT_TRUE(history.Undo());
  EXPECT_EQ(document.name, u"before");

  host.rendered.push_back(waveformNamed(u"song", {0.5f}));
  EXPECT_TRUE(SaveItem(findItem(id), sw, folder.text(u"out"), context));
  EXPECT_EQ(history.states().newest(), 0);
  EXPECT_FALSE(history.Redo());
  EXPECT_TRUE(history.edits().currentEntry()->isBarrier());
}

}  // namespace
}  // namespace tervo::test
