#include "formats/open_flow.h"

#include "base/memory_guard.h"
#include "platform/current_folder.h"
#include "tests/formats/flow_fixture.h"

namespace tervo::test {
namespace {

using namespace std::string_literals;

class OpenFlow : public FlowTest {
 protected:
  void SetUp() override {
    document.name = u"before";
    document.add(waveformNamed(u"old", {0.5f}));
  }
  void expectUntouched() {
    EXPECT_EQ(document.name, u"before");
    ASSERT_EQ(document.waveforms().size(), 1u);
    EXPECT_EQ(framesOf(*document.waveforms()[0]), std::vector<float>{0.5f});
  }

  Collection document;
};

TEST_F(OpenFlow, SaysWhyAFileIsNotOpenedAndKeepsTheDocument) {
  folder.put(u"empty.sw", "");
  folder.put(u"what.xyz", "no sound");
  std::filesystem::create_directory(folder / u"folder.sw");
  struct Case {
    TextView name, message;
  };
  for (const Case& each :
       {Case{u"absent.sw", u"Could not open file"}, Case{u"folder.sw", u"Could not open file"},
        Case{u"empty.sw", u"File is of zero size"}, Case{u"what.xyz", u"Not detected as any supported file type"}}) {
    EXPECT_FALSE(open(document, each.name)) << toUtf8(each.name);
    EXPECT_EQ(LastErrorText(), each.message) << toUtf8(each.name);
    expectUntouched();
  }
}

TEST_F(OpenFlow, ReplacesTheDocument) {
  folder.put(u"kick drum.sw", "\x00\x40\x00\xC0"s);
  ASSERT_TRUE(open(document, u"kick drum.sw"));
  EXPECT_EQ(document.name, u"kick drum");
  EXPECT_EQ(document.tags[Tag::sourceFile], folder.text(u"kick drum.sw"));
  EXPECT_EQ(descriptionOf(document.sourceFormat), u"Signed words (16-bit) - Little Endian");
  ASSERT_EQ(document.waveforms().size(), 1u);
  EXPECT_EQ(framesOf(*document.waveforms()[0]), (std::vector<float>{0.5f, -0.5f}));
  EXPECT_EQ(host.statuses.back(), u"Opened: kick drum.sw");
  EXPECT_TRUE(std::filesystem::equivalent(std::filesystem::path(platform::currentFolder()), folder / u"."));
}

TEST_F(OpenFlow, AFileThatCannotBeReadLeavesAnEmptyCollection) {
  folder.put(u"one.xyz", "12345678");
  OpenContext context = opening();
  context.raw = {.channels = 3};
  EXPECT_FALSE(OpenFile(document, folder.text(u"one.xyz"), RawFallback::allowed, context));
  EXPECT_EQ(LastErrorText(), u"Too many channels");
  EXPECT_EQ(document.name, u"Empty collection");
  EXPECT_FALSE(document.holdsData());
  EXPECT_EQ(document.sourceFormat, noFormat);
}

TEST_F(OpenFlow, AFileThatCannotBeReadOrIsBrokenOffLeavesUnsavedChangesAlone) {
  folder.put(u"one.xyz", "12345678");
  folder.put(u"good.sb", "\x40");
  DocumentHistory history(document, host, folder.text(u"states"), nullptr);
  OpenContext unreadable = opening(), brokenOff = opening();
  unreadable.history = brokenOff.history = &history;
  unreadable.raw = {.channels = 3};
  brokenOff.normalisation = Normalisation::applied;
  host.stepsAllowed = 0;
  history.edit(document.waveforms()[0]->id(), u"Rename", [&] { document.waveforms()[0]->name = u"mine"; });
  for (const auto& [name, context] : {std::pair(u"one.xyz", unreadable), std::pair(u"good.sb", brokenOff)}) {
    EXPECT_FALSE(OpenFile(document, folder.text(name), RawFallback::allowed, context));
    expectUntouched();
    EXPECT_TRUE(history.hasUnsavedChanges());
  }
  ASSERT_TRUE(history.Undo());
  EXPECT_EQ(document.waveforms()[0]->name, u"old");
  history.markSaved();
  EXPECT_FALSE(OpenFile(document, folder.text(u"one.xyz"), RawFallback::allowed, unreadable));
  EXPECT_EQ(document.name, u"Empty collection");
}

TEST_F(OpenFlow, WhatIsMergedIsTidiedUpAndWhatWasThereIsNot) {
  document.add(waveformNamed(u"old", {0.5f}));
  folder.put(u"old.sb", "\x20");
  folder.put(u"equal.sb", "\x40");
  OpenContext context = opening();
  context.normalisation = Normalisation::applied;
  for (Waveform* each : {document.waveforms()[0].get(), document.waveforms()[1].get()}) {
    each->sampleRate = 44100;
    each->setStoredFormat(SampleFormat::pcm8, 0);
  }
  for (const TextView name : {u"equal.sb", u"old.sb"})
    ASSERT_TRUE(MergeFile(document, folder.text(name), RawFallback::refused, context));
  ASSERT_EQ(document.waveforms().size(), 3u) << "one of them was there already";
  EXPECT_EQ(document.waveforms()[0]->name, u"old");
  EXPECT_EQ(document.waveforms()[1]->name, u"old");
  EXPECT_EQ(document.waveforms()[2]->name, u"old 2");
}

TEST_F(OpenFlow, ADuplicateIsEqualInEveryStoredBit) {
  folder.put(u"a.sdw", "\x00\x00\x00\x40"s);
  folder.put(u"a float would round it.sdw", "\x01\x00\x00\x40"s);
  folder.put(u"again.sdw", "\x01\x00\x00\x40"s);
  OpenContext context = opening();
  context.normalisation = Normalisation::applied;
  ASSERT_TRUE(OpenFile(document, folder.text(u"a.sdw"), RawFallback::refused, context));
  ASSERT_TRUE(MergeFile(document, folder.text(u"a float would round it.sdw"), RawFallback::refused, context));
  EXPECT_EQ(document.waveforms().size(), 2u);
  ASSERT_TRUE(MergeFile(document, folder.text(u"again.sdw"), RawFallback::refused, context));
  EXPECT_EQ(document.waveforms().size(), 2u);
}

TEST_F(OpenFlow, ReplacedWaveformsLeaveNoDanglingSelectors) {
  document.waveforms()[0]->markers.push_back({.type = MarkerType::section, .start = 0, .end = 1});
  Layer& layer = document.add(std::make_unique<Instrument>()).add(std::make_unique<Layer>());
  Region& region = layer.add(std::make_unique<Region>());
  region.waveform = document.waveforms()[0]->id();
  region.trigger.set(ParameterId::playSection, 1);
  folder.put(u"old.sb", "\x20");
  EXPECT_EQ(ReplaceSameName(document, folder.text(u"old.sb"), RawFallback::refused, opening()), 1u);
  EXPECT_TRUE(region.trigger.empty());
  EXPECT_TRUE(report.lostSomething());
}

TEST_F(OpenFlow, StoppingTheTidyingUpIsAFailure) {
  folder.put(u"a.sb", "\x40");
  OpenContext context = opening();
  context.normalisation = Normalisation::applied;
  host.stepsAllowed = 0;
  EXPECT_FALSE(MergeFile(document, folder.text(u"a.sb"), RawFallback::refused, context));
  EXPECT_EQ(LastErrorText(), u"Open aborted!");
  expectUntouched();
}

TEST_F(OpenFlow, MemoryRunningOutIsAFailureLikeAnother) {
  struct ShortOfMemory final : Host {
    void showStatus(TextView) override { throw std::bad_alloc(); }
  } shortOfMemory;
  folder.put(u"a.sb", "\x40");
  const OpenContext context{.host = shortOfMemory, .report = report, .settings = settings};
  EXPECT_FALSE(MergeFile(document, folder.text(u"a.sb"), RawFallback::refused, context));
  EXPECT_EQ(LastErrorText(), u"Out of memory");
  expectUntouched();
}

TEST_F(OpenFlow, MergesBehindWhatIsThere) {
  folder.put(u"new.sb", "\x40");
  const ItemId old = document.waveforms()[0]->id();
  ASSERT_TRUE(MergeFile(document, folder.text(u"new.sb"), RawFallback::refused, opening()));
  EXPECT_EQ(document.name, u"before");
  ASSERT_EQ(document.waveforms().size(), 2u);
  EXPECT_EQ(document.waveforms()[0]->id(), old);
  EXPECT_EQ(document.waveforms()[1]->name, u"new");
  EXPECT_EQ(host.statuses.back(), u"Merged: new.sb");
}

TEST_F(OpenFlow, ReplacesWaveformsOfTheSameNameInPlace) {
  const ItemId old = document.waveforms()[0]->id();
  document.add(waveformNamed(u"other", {0.25f}));
  folder.put(u"old.sb", "\x20\x20");
  folder.put(u"stranger.sb", "\x20");
  EXPECT_EQ(ReplaceSameName(document, folder.text(u"old.sb"), RawFallback::refused, opening()), 1u);
  ASSERT_EQ(document.waveforms().size(), 2u);
  EXPECT_EQ(document.waveforms()[0]->id(), old);
  EXPECT_EQ(framesOf(*document.waveforms()[0]), (std::vector<float>{0.25f, 0.25f}));
  EXPECT_EQ(document.waveforms()[0]->storedBits, 8);
  EXPECT_EQ(ReplaceSameName(document, folder.text(u"stranger.sb"), RawFallback::refused, opening()), 0u);
  EXPECT_TRUE(report.lostSomething());
  EXPECT_EQ(ReplaceSameName(document, folder.text(u"absent.sb"), RawFallback::refused, opening()), std::nullopt);
}

TEST_F(OpenFlow, MergesAndReplacementsAreUndoneAndOpeningIsNot) {
  folder.put(u"new.sb", "\x40");
  folder.put(u"old.sb", "\x20");
  DocumentHistory history(document, host, folder.text(u"states"), nullptr);
  OpenContext context = opening();
  context.history = &history;
  const auto frames = [&] { return framesOf(*document.waveforms()[0]); };
  history.edit(document.id(), u"Rename", [&] { document.name = u"renamed"; });
  history.markSaved();
  ASSERT_TRUE(MergeFile(document, folder.text(u"new.sb"), RawFallback::refused, context));
  EXPECT_TRUE(history.hasUnsavedChanges());
  EXPECT_EQ(ReplaceSameName(document, folder.text(u"old.sb"), RawFallback::refused, context), 1u);
  ASSERT_TRUE(history.Undo());
  EXPECT_EQ(frames(), std::vector<float>{0.5f});
  EXPECT_EQ(document.waveforms().size(), 2u);
  ASSERT_TRUE(history.Undo());
  EXPECT_EQ(document.waveforms().size(), 1u);
  EXPECT_EQ(document.name, u"renamed");
  ASSERT_TRUE(history.Redo());
  ASSERT_TRUE(history.Redo());
  EXPECT_EQ(frames(), std::vector<float>{0.25f});
  EXPECT_EQ(document.waveforms().size(), 2u);

  const uint64_t revision = history.revision();
  ASSERT_TRUE(OpenFile(document, folder.text(u"new.sb"), RawFallback::refused, context));
  EXPECT_GT(history.revision(), revision);
  EXPECT_FALSE(history.hasUnsavedChanges());
  EXPECT_FALSE(history.Undo());
}

TEST_F(OpenFlow, AsksForTheRawFallbackUntilAnAnswerForAll) {
  struct Case {
    std::size_t button;
    RawFallback first;
    RawChoice remembered;
  };
  for (const Case& each :
       {Case{0, RawFallback::allowed, RawChoice::askEachTime}, Case{1, RawFallback::refused, RawChoice::askEachTime},
        Case{2, RawFallback::allowed, RawChoice::always}, Case{3, RawFallback::refused, RawChoice::never}}) {
    RawChoice remembered = RawChoice::askEachTime;
    host.answer = each.button;
    host.questions = 0;
    EXPECT_EQ(askRawFallback(host, remembered), each.first);
    EXPECT_EQ(remembered, each.remembered);
    EXPECT_EQ(askRawFallback(host, remembered), each.first);
    EXPECT_EQ(host.questions, each.remembered == RawChoice::askEachTime ? 2 : 1);
  }
  host.answer.reset();  // nobody there: nothing is read on a guess
  RawChoice fresh = RawChoice::askEachTime;
  EXPECT_EQ(askRawFallback(host, fresh), RawFallback::refused);
}

}  // namespace
}  // namespace tervo::test
