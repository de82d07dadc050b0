// Operations on several waveforms: one step, all or nothing, and what regions name in a waveform stays what it was.

#include "core/history/document_history.h"
#include "core/normalise/pass.h"
#include "tests/tools/wave_fixture.h"

namespace tervo {
namespace {

using namespace test;

Marker position(double at) {
  return {.type = MarkerType::position, .start = at, .end = at + 1};
}

/// What the tests can see of a document.
std::vector<std::vector<float>> contentOf(const Collection& collection) {
  std::vector<std::vector<float>> all;
  for (const auto& waveform : collection.waveforms()) {
    all.push_back(framesOf(waveform->samples));
    for (const Marker& marker : waveform->markers)
      all.push_back({static_cast<float>(marker.start), static_cast<float>(marker.end)});
  }
  fixup::forEachRegion(collection, [&all](const Region& region) {
    for (const auto& [row, value] : region.trigger.entries()) all.push_back({static_cast<float>(row), value});
  });
  return all;
}

/// Options with which an operation does something.
OptionTexts optionsFor(TextView operation) {
  if (operation == u"gain") return {{u"by", u"-3"}};
  if (operation == u"cut" || operation == u"crop") return {{u"end", u"3"}, {u"unit", u"percent"}};
  if (operation == u"change-channels") return {{u"to", u"swapped"}};
  return {};
}

TEST_F(WaveOperations, SeveralWaveformsAreOneStepOfUndo) {
  for (const float level : {0.25f, 0.5f, 1.0f}) wave(makeResident({level, -level / 2}, 1));
  DocumentHistory history(document.collection, host, u"", nullptr);
  const auto before = contentOf(document.collection);
  EXPECT_EQ(run(u"normalise", {}, &history), Outcome::changed);
  EXPECT_EQ(host.texts.back(), u"Done: Normalise: 2 of 3 items changed");
  for (const auto& waveform : document.collection.waveforms()) EXPECT_EQ(peak(framesOf(waveform->samples)), 1);
  const auto after = contentOf(document.collection);
  EXPECT_TRUE(history.Undo());
  EXPECT_EQ(contentOf(document.collection), before);
  EXPECT_TRUE(history.Redo());
  EXPECT_EQ(contentOf(document.collection), after);
  EXPECT_EQ(run(u"normalise", {}, &history), Outcome::nothingToDo);
  EXPECT_TRUE(history.Undo());
  EXPECT_FALSE(history.Undo());
}

/// Frames that cannot be read behind the first ones.
class Broken final : public SampleData {
 public:
  Broken() : SampleData(1, 100000) {}
  std::unique_ptr<SampleStream> open(int64_t) const override { return makeResident({1, 2, 3}, 1)->open(); }
};

TEST_F(WaveOperations, CancellingAndFailingLeaveEverythingAsItWas) {
  for (int i = 0; i < 3; ++i) wave(ramp(70000, 2, 0.1f), {loopMarker(10, 20, LoopType::forward), position(5)});
  Region& region = fixup_test::Document::region(document.layer(), *document.collection.waveforms()[0]);
  region.trigger.set(ParameterId::playSection, 2);
  DocumentHistory history(document.collection, host, u"", nullptr);
  const auto before = contentOf(document.collection);
  for (const Operation& operation : Operations()) {
    if (operation.kind != ItemKind::waveform) continue;
    for (int polls = 0;; polls += 1 + polls / 3) {
      host.left = polls;
      const Outcome outcome = run(operation.name, optionsFor(operation.name), &history);
      if (outcome != Outcome::failed) break;
      ASSERT_EQ(LastErrorText(), u"Cancelled") << toUtf8(operation.name) << polls;
      ASSERT_EQ(contentOf(document.collection), before) << toUtf8(operation.name) << polls;
      ASSERT_TRUE(document.report.entries().empty());
    }
    host.left = std::numeric_limits<int>::max();
    while (history.Undo()) {
    }
    ASSERT_EQ(contentOf(document.collection), before) << toUtf8(operation.name);
    history.ClearSnapshots();
    document.report = {};
  }
  wave(std::make_shared<Broken>());
  EXPECT_EQ(run(u"normalise", {}, &history), Outcome::failed);
  EXPECT_EQ(LastErrorText(), u"Reading from file failed");
  EXPECT_FALSE(history.Undo());
}

TEST_F(WaveOperations, EdgesAreSurvived) {
  const float infinity = std::numeric_limits<float>::infinity(), noNumber = std::nanf("");
  for (const Operation& operation : Operations()) {
    if (operation.kind != ItemKind::waveform) continue;
    document.collection.clear();
    wave(nullptr);
    for (const int64_t frames : {0, 1, 31, 32, 33}) {
      const auto count = static_cast<std::size_t>(frames);
      wave(ramp(frames, 1), {loopMarker(0, static_cast<double>(frames), LoopType::alternating)});
      for (const float level : {0.0f, 1.0f, infinity, noNumber}) wave(makeResident(std::vector(2 * count, level), 2));
    }
    host.left = std::numeric_limits<int>::max();
    EXPECT_NE(run(operation.name, optionsFor(operation.name)), Outcome::failed)
        << toUtf8(operation.name) << toUtf8(LastErrorText());
    for (const auto& waveform : document.collection.waveforms()) {
      if (!waveform->samples) continue;
      const auto samples = static_cast<std::size_t>(waveform->frames() * waveform->channels());
      EXPECT_EQ(framesOf(waveform->samples).size(), samples) << toUtf8(operation.name);
      for (const Marker& marker : waveform->markers) {
        EXPECT_GE(marker.start, 0) << toUtf8(operation.name);
        EXPECT_LE(marker.end, std::max<double>(1, static_cast<double>(waveform->frames()))) << toUtf8(operation.name);
      }
    }
  }
}

TEST_F(WaveOperations, RegionsPlayTheSameFrames) {
  Waveform& sound = wave(ramp(100, 1), {position(30), {.type = MarkerType::section, .start = 10, .end = 40}});
  Region& whole = fixup_test::Document::region(document.layer(), sound);
  Region& fromPosition = fixup_test::Document::region(document.layer(), sound);
  Region& section = fixup_test::Document::region(document.layer(), sound);
  fromPosition.trigger.set(ParameterId::playSection, 1);
  section.trigger.set(ParameterId::playSection, 2);
  ASSERT_EQ(run(u"reverse"), Outcome::changed);
  const auto isRange = [](const Region& region, double start, double end) {
    const FrameRange range = playedFrames(region);
    return range.start == start && range.end == end;
  };
  EXPECT_TRUE(isRange(whole, 0, 100));
  EXPECT_TRUE(isRange(fromPosition, 0, 70));
  EXPECT_TRUE(isRange(section, 60, 90));
  EXPECT_EQ(sound.markers[0].start, 69);  // the frame that it stood at
}

TEST_F(WaveOperations, OptionsSayWhatTheyTake) {
  OptionValues values(findOperation(u"gain")->options);
  EXPECT_FALSE(values.set(u"by", u"97"));
  EXPECT_EQ(LastErrorText(), u"\"97\" is no number from -96 to 96");
  for (const TextView wrong : {u"", u"nan", u"inf", u"1 dB", u"0x1", u"+-1", u"++1"})
    EXPECT_FALSE(values.set(u"by", wrong));
  EXPECT_TRUE(values.set(u"by", u"+3"));
  EXPECT_EQ(values.number(u"by"), 3);
}

}  // namespace
}  // namespace tervo
