#include "core/history/edit_ring.h"

#include <gtest/gtest.h>

#include "tests/platform/test_folder.h"

namespace tervo {
namespace {

EditEntry entry(int number) {
  EditEntry made;
  made.item = makeItemId(ItemKind::region, static_cast<uint32_t>(number));
  made.image.body.assign(3, static_cast<std::byte>(number));
  return made;
}

void record(EditRing& ring, int number) {
  EditEntry made = entry(number);
  ring.RecordSnapshot(std::move(made));
  EXPECT_TRUE(made.image.body.empty());
}

int numberOf(const EditEntry* found) {
  return found ? static_cast<int>(static_cast<uint32_t>(found->item) & 0xFFFF) : -1;
}

TEST(EditRing, GoesBackAndForthAndForgetsWhatCouldBeRedone) {
  EditRing ring;
  EXPECT_EQ(ring.Undo(), nullptr);
  EXPECT_EQ(ring.Redo(), nullptr);
  for (int number = 1; number <= 4; ++number) record(ring, number);
  EXPECT_EQ(ring.Redo(), nullptr);
  EXPECT_EQ(numberOf(ring.Undo()), 3);
  EXPECT_EQ(numberOf(ring.Undo()), 2);
  EXPECT_EQ(numberOf(ring.Redo()), 3);
  record(ring, 3);  // equal to the current one: what can be redone stays
  EXPECT_EQ(numberOf(ring.Redo()), 4);
  ring.Undo(), ring.Undo();
  record(ring, 5);
  EXPECT_EQ(ring.Redo(), nullptr);
  EXPECT_EQ(numberOf(ring.Undo()), 2);
  EXPECT_EQ(numberOf(ring.Undo()), 1);
  EXPECT_EQ(ring.Undo(), nullptr);
}

TEST(EditRing, The65thEntryDropsTheFirst) {
  EditRing ring;
  for (int number = 1; number <= 64; ++number) record(ring, number);
  EXPECT_EQ(ring.oldest(), 0);
  EXPECT_EQ(ring.newest(), 63);
  record(ring, 65);
  EXPECT_EQ(ring.oldest(), 1);
  EXPECT_EQ(ring.newest(), 0);
  EXPECT_EQ(ring.current(), 0);
  for (int number = 64; number >= 2; --number) EXPECT_EQ(numberOf(ring.Undo()), number);
  EXPECT_EQ(ring.Undo(), nullptr);
  // A full ring that was gone back in loses its tail, not its oldest entry.
  record(ring, 70);
  EXPECT_EQ(ring.oldest(), 1);
  EXPECT_EQ(ring.newest(), 2);
  ring.ClearSnapshots();
  EXPECT_EQ(ring.oldest(), -1);
  EXPECT_EQ(ring.newest(), -1);
  EXPECT_EQ(ring.current(), -1);
}

TEST(EditRing, DeletesTheFileOfADroppedEntry) {
  const test::TestFolder folder;
  const auto fileEntry = [&](TextView name) {
    folder.put(name, "x");
    EditEntry made;
    made.storage = StorageCode::stateFile;
    made.statePath = folder.text(name);
    return made;
  };
  EditRing ring;
  record(ring, 1);
  ring.RecordSnapshot(fileEntry(u"a.tvs"));
  ring.RecordSnapshot(fileEntry(u"b.tvs"));
  ring.Undo();
  record(ring, 2);
  EXPECT_EQ(folder.count(), 1);
  EXPECT_EQ(folder.get(u"a.tvs"), "x");
  ring.ClearSnapshots();
  EXPECT_EQ(folder.count(), 0);
}

}  // namespace
}  // namespace tervo
