#include "ui/wave/source_pane.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFile>
#include <QLineEdit>
#include <QTabWidget>

#include "tests/ui/modal_answer.h"
#include "tests/ui/window_fixture.h"
#include "ui/wave/waveform_view.h"

namespace tervo::ui {
namespace {

class SourcePaneTest : public WindowTest {
 protected:
  SourcePaneTest() {
    window.resize(1280, 800);
    QFile out(dir.filePath("odd.bytes"));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly));
    // Nothing that anybody recognises: two bytes to skip, then bytes that rise.
    QByteArray bytes("\xFE\xFE");
    for (int i = 0; i < 64; ++i) bytes.append(static_cast<char>(i * 4));
    out.write(bytes);
    path = textOf(out.fileName());
  }
  template <typename Field>
  Field* field(int number) {
    return window.source().findChildren<Field*>().value(number);
  }
  const Waveform& waveform() { return *session.document().waveforms()[0]; }
  std::vector<float> frames() {
    const SampleRef all = makeResident(waveform().samples);
    return {all->resident().begin(), all->resident().end()};
  }

  Text path;
};

TEST_F(SourcePaneTest, TheQuestionLeadsThereAndEveryChangeIsHeardSeenAndUndone) {
  answering("OK", [&] { window.openFiles({path}, OpenMode::replace); });
  ASSERT_EQ(window.tabs().currentWidget(), &window.source());
  ASSERT_EQ(window.source().waveform(), waveform().id());
  EXPECT_EQ(waveform().frames(), 33);
  EXPECT_FLOAT_EQ(frames()[0], -0x0102 / 32768.f);  // little-endian 0xFEFE

  field<QComboBox>(0)->setCurrentText("PCM 8-bit");
  field<QDoubleSpinBox>(0)->setValue(2);
  field<QCheckBox>(0)->click();
  field<QComboBox>(2)->setCurrentIndex(1);
  EXPECT_EQ(waveform().channels(), 2);
  EXPECT_EQ(waveform().frames(), 32);
  EXPECT_FLOAT_EQ(frames()[0], -1);
  EXPECT_FLOAT_EQ(frames()[1], -124 / 128.f);
  EXPECT_FLOAT_EQ(frames()[63], 124 / 128.f);
  EXPECT_EQ(window.source().view().waveform()->frames(), 32);
  field<QCheckBox>(1)->click();  // one channel behind the other
  EXPECT_FLOAT_EQ(frames()[1], 0);
  field<QDoubleSpinBox>(1)->setValue(16);
  EXPECT_EQ(waveform().frames(), 8);

  auto* rate = field<QComboBox>(3)->lineEdit();
  rate->selectAll();
  QTest::keyClicks(rate, "8000");
  EXPECT_EQ(waveform().sampleRate, 8000);
  ASSERT_TRUE(session.undo());  // what was typed is one step
  EXPECT_EQ(waveform().sampleRate, 44100);
  EXPECT_EQ(rate->text(), "44100");
  for (int steps = 0; steps < 6; ++steps) ASSERT_TRUE(session.undo());
  EXPECT_FALSE(session.undo());
  EXPECT_EQ(waveform().frames(), 33);
}

TEST_F(SourcePaneTest, ALayoutIsRememberedAndOneThatDoesNotFitIsNotTaken) {
  answering("OK", [&] { window.openFiles({path}, OpenMode::replace); });
  field<QComboBox>(0)->setCurrentText("Float 64-bit");
  field<QComboBox>(1)->setCurrentIndex(1);
  EXPECT_EQ(waveform().frames(), 8);
  field<QDoubleSpinBox>(0)->setValue(60);  // leaves less than one frame
  EXPECT_EQ(waveform().frames(), 8);
  window.openFiles({path}, OpenMode::replace, RawFallback::forced);
  EXPECT_EQ(waveform().frames(), 8);
  EXPECT_EQ(formatOf(waveform().storedFormat), SampleFormat::float64);
  EXPECT_TRUE(waveform().storedFormat & BigEndian);
  QFile small(dir.filePath("small.bytes"));
  ASSERT_TRUE(small.open(QIODevice::WriteOnly) && small.write("abcd") == 4);
  small.close();
  window.openFiles({textOf(small.fileName())}, OpenMode::replace, RawFallback::forced);
  EXPECT_EQ(waveform().frames(), 2);
}

// G.726 of 3 bits: 8 code words in 3 bytes. A file of just those bytes is the witness.
TEST_F(SourcePaneTest, ACodingLeavesOrderRateAndPlaceOpen) {
  QByteArray bytes;
  for (int i = 0; i < 30; ++i) bytes.append(static_cast<char>(i * 37 + 11));
  const auto write = [&](const char* name, const QByteArray& content) {
    QFile out(dir.filePath(name));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(content) == content.size());
    return textOf(out.fileName());
  };
  window.openFiles({write("part.g723", bytes.mid(6, 12))}, OpenMode::replace);
  const std::vector<float> part = frames();
  window.openFiles({write("whole.g723", bytes)}, OpenMode::replace);
  window.list().select({waveform().id()});
  ASSERT_EQ(waveform().frames(), 80);
  const std::vector<float> whole = frames();

  EXPECT_FALSE(field<QComboBox>(0)->isEnabled());
  EXPECT_FALSE(field<QComboBox>(2)->isEnabled());
  field<QDoubleSpinBox>(0)->setValue(6);
  field<QDoubleSpinBox>(1)->setValue(12);
  EXPECT_EQ(frames(), part);
  field<QComboBox>(3)->setCurrentText("16000");
  EXPECT_EQ(waveform().sampleRate, 16000);
  field<QComboBox>(1)->setCurrentIndex(0);
  EXPECT_EQ(waveform().frames(), 32);
  EXPECT_NE(frames(), part);
  field<QComboBox>(1)->setCurrentIndex(1);
  EXPECT_EQ(frames(), part);
  EXPECT_TRUE(settings.rawio.layout.empty());
  while (session.undo()) continue;
  EXPECT_EQ(frames(), whole);
}

TEST_F(SourcePaneTest, EditedSamplesHaveNoSource) {
  addInstrument(u"Piano");
  Q_EMIT session.replaced();
  window.list().select({waveform().id()});
  EXPECT_FALSE(field<QComboBox>(0)->isEnabled());
}

TEST_F(SourcePaneTest, SettingsKeepALayoutAndTakeNoNonsense) {
  RawRequest layout;
  layout.format = SampleFormat::aLaw;
  layout.byteOrder = ByteOrder::big;
  layout.isUnsigned = layout.splitChannels = true;
  layout.channels = 2;
  layout.sampleRate = 11025.5;
  EXPECT_EQ(rawLayoutIn(rawLayoutText(layout)), layout);
  EXPECT_EQ(rawLayoutIn(u"MIDI;up;;;99;0"), RawRequest{});
  EXPECT_EQ(rawLayoutIn(u""), RawRequest{});
}

}  // namespace
}  // namespace tervo::ui
