#include "ui/external_editor.h"

#include "base/last_error.h"
#include "formats/save_flow.h"
#include "platform/program.h"
#include "tests/ui/waiting.h"
#include "tests/ui/window_fixture.h"

namespace tervo::ui {
namespace {

class ExternalEditorTest : public WindowTest {
 protected:
  ~ExternalEditorTest() override { qunsetenv("TERVO_STAND_IN_EDITED"); }
  /// A program that puts another file in the place of the one it is given, as most do when they save.
  Text programThatPuts(const QString& file) {
    qputenv("TERVO_STAND_IN_EDITED", file.toUtf8());
    return platform::siblingProgram(u"stand_in");
  }
  QString fileOf(const Item& item, const char* extension) {
    const QString path = dir.filePath(QStringLiteral("edited.") + extension);
    ConversionReport report;
    EXPECT_TRUE(SaveItem(&item, writerForExtension(textOf(extension)), textOf(path), {host, report, settings}));
    return path;
  }
  ExternalEditor editor{session, nullptr};
};

TEST_F(ExternalEditorTest, WhatTheProgramSavesIsTakenBackAsAnUndoStep) {
  addInstrument(u"Piano");
  Waveform& sine = *session.document().waveforms()[0];
  sine.rootKey = 50;
  Waveform other;
  other.name = u"Other";
  other.sampleRate = 8000;
  other.samples = makeResident(std::vector<float>(300, 0.5f), 1);
  settings.app.wave = programThatPuts(fileOf(other, "wav"));
  ASSERT_TRUE(editor.open(session.document().instruments()[0]->layers()[0]->regions()[0]->id()));
  ASSERT_TRUE(waitUntil([&] { return sine.frames() == 300; }));
  EXPECT_EQ(sine.sampleRate, 8000);
  EXPECT_EQ(sine.name, u"Sine");
  EXPECT_EQ(sine.rootKey, 50);
  EXPECT_EQ(session.history().undoLabel(), u"Edit in another program");
  ASSERT_TRUE(session.undo());
  EXPECT_EQ(session.document().waveforms()[0]->frames(), 1000);
}

TEST_F(ExternalEditorTest, TakesSongsBackAndSaysWhatIsMissing) {
  EXPECT_FALSE(editor.open(noItem));
  const auto songWith = [](int key) {
    auto song = std::make_unique<Song>();
    auto track = std::make_unique<Track>();
    for (const int byte : {0, 0x90, key, 100, 96, 0x80, key, 0, 0, 0xFF, 0x2F, 0})
      track->data.push_back(static_cast<std::byte>(byte));
    song->add(std::move(track));
    return song;
  };
  Song& song = session.document().add(songWith(60));
  song.name = u"Tune/1";
  EXPECT_FALSE(editor.open(song.id()));
  EXPECT_EQ(LastErrorText(), u"The preferences name no program for this");
  settings.app.midi = programThatPuts(fileOf(*songWith(72), "mid"));
  ASSERT_TRUE(editor.open(song.id()));
  const auto key = [&] { return static_cast<int>(song.tracks()[0]->data.at(2)); };
  EXPECT_TRUE(waitUntil([&] { return key() == 72; }));
  EXPECT_EQ(song.name, u"Tune/1");
}

}  // namespace
}  // namespace tervo::ui
