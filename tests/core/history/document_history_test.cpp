#include "core/history/document_history.h"

#include <gtest/gtest.h>

#include "core/parameter_access.h"
#include "tests/core/history/sample_document.h"
#include "tests/platform/test_folder.h"

namespace tervo {
namespace {

std::vector<std::byte> stateOf(const Collection& document) {
  MemorySink sink;
  EXPECT_TRUE(writeState(sink, imageOf(document), nullptr));
  return sink.take();
}

struct Edited {
  test::TestFolder folder;
  Collection document;
  Host host;
  DocumentHistory history{document, host, folder.text(u"states"), nullptr};

  Edited() { test::fillEveryField(document); }
  Waveform& wave() { return *document.waveforms()[0]; }
  Instrument& instrument() { return *document.instruments()[0]; }
  void recordOnDisk(TextView name) {
    document.name = name;
    EditEntry entry;
    entry.storage = StorageCode::stateFile;
    entry.statePath = folder.text(Text(name) + u".tvs");
    ASSERT_TRUE(writeStateFile(entry.statePath, imageOf(document), nullptr));
    history.RecordSnapshot(std::move(entry));
  }
  void rename(TextView name, const Gesture& gesture = {}) {
    history.edit(
        wave().id(), u"Rename", [&] { wave().name = name; }, gesture);
  }
};

/// Random edits of every level, among them adding, deleting and moving about.
class RandomEdits {
 public:
  RandomEdits(DocumentHistory& history, unsigned seed)
      : history_(history), document_(history.document()), random_(seed) {}

  void make() {
    switch (below(8)) {
      case 0:
        return editOne(document_.waveforms(), [&](Waveform& wave) { wave.gain += 1; });
      case 1:
        return markers();
      case 2:
        return editOne(document_.waveforms(), [&](Waveform& wave) {
          wave.samples = makeResident({0, 1, ++level_}, 1);
        });
      case 3:
        return editOne(document_.instruments(), [&](Instrument& instrument) {
          instrument.add(std::make_unique<Layer>()).add(std::make_unique<Region>());
        });
      case 4:
        return regions();
      case 5:
        return editOne(document_.songs(), [&](Song& song) { song.add(std::make_unique<Track>()).name = u"new"; });
      case 6:
        return history_.edit(document_.id(), u"Add", [&] { addItem(); });
      default:
        return history_.edit(document_.id(), u"Delete", [&] { removeItem(); });
    }
  }
  std::size_t below(std::size_t count) { return random_() % count; }

 private:
  template <typename Items, typename Change>
  void editOne(const Items& items, Change change) {
    if (items.empty()) return;
    auto& item = *items[below(items.size())];
    history_.edit(item.id(), u"Edit", [&] { change(item); });
  }
  void markers() {
    if (document_.waveforms().empty()) return;
    Waveform& wave = *document_.waveforms()[below(document_.waveforms().size())];
    history_.editMarkers(wave.id(), [&] { wave.markers.push_back({.start = double(below(100))}); });
  }
  void regions() {
    editOne(document_.instruments(), [&](Instrument& instrument) {
      for (const auto& layer : instrument.layers()) {
        if (layer->regions().empty()) continue;
        Region& region = *layer->regions()[0];
        if (below(3) == 0) return document_.remove(region.id());
        region.trigger.set(ParameterId::triggerLowKey, static_cast<float>(below(127)));
        if (!document_.waveforms().empty()) region.waveform = document_.waveforms()[0]->id();
      }
    });
  }
  void addItem() {
    if (below(2) == 0) document_.add(std::make_unique<Waveform>()).name = u"added";
    document_.add(std::make_unique<Song>());
  }
  void removeItem() {
    if (!document_.waveforms().empty() && below(2) == 0) return document_.remove(document_.waveforms()[0]->id());
    if (!document_.instruments().empty()) document_.remove(document_.instruments().back()->id());
  }

  DocumentHistory& history_;
  Collection& document_;
  std::mt19937 random_;
  float level_ = 0;
};

TEST(DocumentHistory, EveryUndoIsOneEditAndRedoBringsItBack) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    Edited edited;
    RandomEdits edits(edited.history, seed);
    std::vector<std::vector<std::byte>> states = {stateOf(edited.document)};
    while (states.size() < 20) {
      edits.make();
      if (auto state = stateOf(edited.document); state != states.back()) states.push_back(std::move(state));
    }
    for (int round = 0; round < 2; ++round) {
      for (std::size_t at = states.size() - 1; at > 0; --at) {
        ASSERT_TRUE(edited.history.Undo()) << seed;
        ASSERT_EQ(stateOf(edited.document), states[at - 1]) << seed << " step " << at;
      }
      EXPECT_FALSE(edited.history.Undo());
      for (std::size_t at = 1; at < states.size(); ++at) {
        ASSERT_TRUE(edited.history.Redo()) << seed;
        ASSERT_EQ(stateOf(edited.document), states[at]) << seed << " step " << at;
      }
      EXPECT_FALSE(edited.history.Redo());
    }
  }
}

/// A plain model of what undo means: a list of whole documents and a place in it.
TEST(DocumentHistory, AnySequenceOfEditsUndosAndSavesEndsWhereReplayingItDoes) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    Edited edited;
    RandomEdits edits(edited.history, seed);
    std::vector<std::vector<std::byte>> states = {stateOf(edited.document)};
    std::size_t at = 0;
    std::vector<std::vector<std::byte>> saved;
    for (int i = 0; i < 60; ++i) {
      const std::size_t action = edits.below(10);
      if (action < 4) {
        edits.make();
        auto state = stateOf(edited.document);
        if (state == states[at]) continue;
        states.resize(at + 1);
        states.push_back(std::move(state));
        // At least as many steps as the ring has room for pairs of entries.
        if (++at > 20) states.erase(states.begin()), --at;
      } else if (action < 7) {
        ASSERT_EQ(edited.history.Undo(), at > 0) << seed;
        at -= std::min<std::size_t>(at, 1);
      } else if (action < 9) {
        ASSERT_EQ(edited.history.Redo(), at + 1 < states.size()) << seed;
        at = std::min(at + 1, states.size() - 1);
      } else {
        edited.history.startSaving(ItemKind::collection);
        states = {states[at]};
        at = 0;
        EXPECT_FALSE(edited.history.Undo());
      }
      ASSERT_EQ(stateOf(edited.document), states[at]) << seed << " action " << i;
    }
  }
}

TEST(DocumentHistory, AGestureIsOneStep) {
  Edited edited;
  const Gesture drag{1, ParameterId::sampleRate}, next{2, ParameterId::sampleRate};
  for (const TextView name : {u"Piano C4", u"a", u"ab", u"abc"}) edited.rename(name, drag);
  for (const TextView name : {u"x", u"xy"}) edited.rename(name, next);
  ASSERT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.wave().name, u"abc");
  edited.rename(u"abcd", drag);  // undo has ended the gesture
  ASSERT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.wave().name, u"abc");
  ASSERT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.wave().name, u"Piano C4");
  EXPECT_FALSE(edited.history.Undo());
}

TEST(DocumentHistory, PassesOverWhatWasDeletedWithoutBeingRecorded) {
  Edited edited;
  Waveform& other = edited.document.add(std::make_unique<Waveform>());
  edited.rename(u"new");
  edited.history.edit(other.id(), u"Edit", [&] { other.gain = 5; });
  edited.history.editMarkers(other.id(), [&] { other.markers.push_back({}); });
  edited.document.remove(other.id());
  ASSERT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.wave().name, u"Piano C4");
  EXPECT_FALSE(edited.history.Undo());
}

TEST(DocumentHistory, ADeletedItemComesBackUnderItsIdentifierAndIsPlayedAgain) {
  Edited edited;
  const ItemId wave = edited.wave().id(), region = edited.instrument().layers()[0]->regions()[0]->id();
  const SampleRef samples = edited.wave().samples;
  edited.history.edit(edited.document.id(), u"Delete", [&] { edited.document.remove(wave); });
  // No new item may take the place of one that can come back.
  for (int i = 0; i < 10; ++i) EXPECT_NE(Waveform().id(), wave);
  ASSERT_TRUE(edited.history.Undo());
  ASSERT_NE(findItem<Waveform>(wave), nullptr);
  EXPECT_EQ(findItem<Waveform>(wave)->samples, samples);
  EXPECT_EQ(findItem<Region>(region)->waveform, wave);
}

TEST(DocumentHistory, StepsBearTheNamesOfTheirEdits) {
  Edited edited;
  EXPECT_EQ(edited.history.undoLabel(), u"");
  edited.rename(u"one");
  edited.history.edit(edited.instrument().id(), u"Program", [&] { edited.instrument().program += 1; });
  edited.history.editMarkers(edited.wave().id(), [&] { edited.wave().markers.clear(); });
  edited.history.edit(edited.wave().id(), u"Gain", [&] { edited.wave().gain += 1; });
  const TextView steps[] = {u"Rename", u"Program", u"Edit markers", u"Gain"};
  for (int step = 3; step >= 0; --step) {
    EXPECT_EQ(edited.history.undoLabel(), steps[step]);
    ASSERT_TRUE(edited.history.Undo());
    EXPECT_EQ(edited.history.redoLabel(), steps[step]);
  }
  EXPECT_EQ(edited.history.undoLabel(), u"");
  for (const TextView step : steps) {
    EXPECT_EQ(edited.history.redoLabel(), step);
    ASSERT_TRUE(edited.history.Redo());
    EXPECT_EQ(edited.history.undoLabel(), step);
  }
  edited.history.startSaving(ItemKind::collection);
  EXPECT_EQ(edited.history.undoLabel(), u"");
}

TEST(DocumentHistory, SavesOfWaveformsAreNoBarrierThoseOfWholesAre) {
  Edited edited;
  edited.rename(u"new");
  edited.history.startSaving(ItemKind::waveform);
  EXPECT_TRUE(edited.history.Undo());
  edited.history.startSaving(ItemKind::layer);
  EXPECT_FALSE(edited.history.Undo());
  EXPECT_FALSE(edited.history.Redo());
  ASSERT_NE(edited.history.edits().currentEntry(), nullptr);
  EXPECT_TRUE(edited.history.edits().currentEntry()->isBarrier());
  edited.rename(u"newer");
  EXPECT_TRUE(edited.history.Undo());
  EXPECT_FALSE(edited.history.Undo());
  EXPECT_EQ(edited.wave().name, u"Piano C4");
}

TEST(DocumentHistory, RollingBackKeepsTheUndoStepsAndRestoringAnOlderStateDoesNot) {
  Edited edited;
  edited.rename(u"one");
  ASSERT_TRUE(edited.history.SaveState());
  const auto before = stateOf(edited.document);
  edited.wave().name = u"half rendered";
  ASSERT_TRUE(edited.history.RestoreState(0, StateRing::AfterLoading::deleteFile));
  EXPECT_EQ(stateOf(edited.document), before);
  ASSERT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.wave().name, u"Piano C4");

  ASSERT_TRUE(edited.history.SaveState());
  edited.rename(u"two");
  ASSERT_TRUE(edited.history.RestoreState(0));
  EXPECT_EQ(edited.wave().name, u"Piano C4");
  EXPECT_FALSE(edited.history.Redo());
  EXPECT_FALSE(edited.history.Undo());
}

TEST(DocumentHistory, AStateFromBeforeTheOneRolledBackToIsAChange) {
  Edited edited;
  std::chrono::system_clock::time_point now{};
  DocumentHistory history(edited.document, edited.host, edited.folder.text(u"states"), nullptr,
                          [&] { return now += std::chrono::seconds(1); });
  ASSERT_TRUE(history.SaveState());
  history.edit(edited.wave().id(), u"Rename", [&] { edited.wave().name = u"later"; });
  ASSERT_TRUE(history.SaveState());
  ASSERT_TRUE(history.RestoreState(0, StateRing::AfterLoading::deleteFile));
  const uint64_t revision = history.revision();
  ASSERT_TRUE(history.RestoreState(0));
  EXPECT_EQ(edited.wave().name, u"Piano C4");
  EXPECT_GT(history.revision(), revision);
  EXPECT_FALSE(history.Undo());
}

TEST(DocumentHistory, EntriesOnDiskRestoreTheWholeDocument) {
  Edited edited;
  const ItemId wave = edited.wave().id();
  edited.recordOnDisk(u"one");
  edited.recordOnDisk(u"two");
  EXPECT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.document.name, u"one");
  EXPECT_NE(findItem<Waveform>(wave), nullptr);
  EXPECT_TRUE(edited.history.Redo());
  EXPECT_EQ(edited.document.name, u"two");
  edited.history.ClearSnapshots();
  EXPECT_EQ(edited.folder.count(), 0);
}

TEST(DocumentHistory, AnEntryThatCannotBeReadStopsTheStepUntilItCan) {
  Edited edited;
  for (const TextView name : {u"one", u"two", u"three"}) edited.recordOnDisk(name);
  std::filesystem::rename(edited.folder / u"two.tvs", edited.folder / u"away");
  EXPECT_FALSE(edited.history.Undo());
  EXPECT_EQ(edited.document.name, u"three");
  std::filesystem::rename(edited.folder / u"away", edited.folder / u"two.tvs");
  EXPECT_TRUE(edited.history.Undo());
  EXPECT_EQ(edited.document.name, u"two");
}

TEST(DocumentHistory, AnEditSharesTheSamplesThatItLeavesAlone) {
  Edited edited;
  std::weak_ptr<const SampleData> first = edited.wave().samples;
  edited.history.editMarkers(edited.wave().id(), [&] { edited.wave().markers.clear(); });
  edited.rename(u"other");
  EXPECT_LT(edited.history.edits().currentEntry()->image.body.size(), 1000u);
  EXPECT_EQ(first.use_count(), 3);  // the waveform, and the images from before and after renaming
  edited.history.edit(edited.wave().id(), u"Reverse", [&] { edited.wave().samples = makeResident({1, 2}, 1); });
  EXPECT_EQ(first.use_count(), 2);
  edited.history.ClearSnapshots();
  EXPECT_TRUE(first.expired());
}

}  // namespace
}  // namespace tervo
