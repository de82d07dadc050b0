// Pictures of the graphic editors in a light and a dark theme, for the manual and for the eye. What a test can say
// about a picture: that something is drawn, in the colours of the theme.

#include <QTabWidget>
#include <cmath>
#include <numbers>
#include <set>

#include "core/parameter_access.h"
#include "tests/ui/window_fixture.h"
#include "ui/editors/eq_view.h"
#include "ui/editors/filter_view.h"
#include "ui/editors/graphic_pane.h"
#include "ui/editors/key_map.h"
#include "ui/editors/song_pane.h"
#include "ui/editors/song_view.h"
#include "ui/editors/tag_pane.h"
#include "ui/theme/theme.h"
#include "ui/wave/source_pane.h"
#include "ui/wave/waveform_pane.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

/// How many colours a picture has: a picture of nothing has hardly any.
std::size_t coloursIn(const QImage& image) {
  std::set<QRgb> colours;
  for (int y = 0; y < image.height(); y += 2) {
    for (int x = 0; x < image.width(); x += 2) colours.insert(image.pixel(x, y));
  }
  return colours.size();
}

class EditorPicturesTest : public WindowTest {
 protected:
  EditorPicturesTest() {
    addTone();
    Instrument& piano = addInstrument(u"Piano", 5);
    const std::pair<P, double> rows[] = {{P::vEnvAttack1Time, 0.005},
                                         {P::vEnvAttack2Time, 0.12},
                                         {P::vEnvDecay1Time, 0.3},
                                         {P::vEnvDecay1Level, 0.9},
                                         {P::vEnvDecay2Time, 4},
                                         {P::vEnvSustain, 0.7},
                                         {P::vEnvRelease1Rate, 1},
                                         {P::pEnvInitialLevel, -0.5},
                                         {P::pEnvAttack1Time, 0.05},
                                         {P::pEnvAttack1Level, 0.4},
                                         {P::pEnvAttack2Level, 0},
                                         {P::pEnvDecay1Level, 0},
                                         {P::pEnvSustain, 0},
                                         {P::filterType, 4},
                                         {P::filterCutoff, 1500},
                                         {P::filterResonance, 12},
                                         {P::eq1Gain, 8},
                                         {P::eq1Mode, 1},
                                         {P::eq2Gain, -6},
                                         {P::eq3Gain, 5},
                                         {P::eq3Mode, 2},
                                         {P::pLfoDelay, 0.3},
                                         {P::pLfoRamp, 0.8},
                                         {P::pLfoFrequency, 5}};
    for (const auto& [row, value] : rows) setParameterValue(piano.id(), row, value);
    int number = 0;
    for (const auto& layer : piano.layers()) {
      for (const auto& region : layer->regions()) {
        const int place = number % 5, half = number++ / 5;
        setParameterValue(region->id(), P::triggerLowKey, 21 + 18 * place);
        setParameterValue(region->id(), P::triggerHighKey, 38 + 18 * place);
        setParameterValue(region->id(), P::triggerLowVelocity, 64 * half);
        setParameterValue(region->id(), P::triggerHighVelocity, 63 + 64 * half);
        regions.push_back(region->id());
      }
    }
    addSong();
    Q_EMIT session.replaced();
    window.resize(1280, 800);
    window.tree().select({piano.id()});
  }
  ~EditorPicturesTest() override { QApplication::setPalette(light); }

  /// Three seconds of a string that dies away, with a loop.
  void addTone() {
    std::vector<float> frames(3 * 44100);
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const double seconds = static_cast<double>(i) / 44100;
      double sample = 0;
      for (int partial = 1; partial < 8; ++partial)
        sample += std::sin(seconds * 2 * std::numbers::pi * 110 * partial) / partial * std::exp(-seconds * partial / 2);
      frames[i] = static_cast<float>(0.45 * sample * std::min(seconds * 50, 1.0));
    }
    auto tone = std::make_unique<Waveform>();
    tone->name = u"String A2";
    tone->sampleRate = 44100;
    tone->rootKey = 45;
    tone->samples = makeResident(std::move(frames), 1);
    Marker& loop = tone->markers.emplace_back();
    loop.type = MarkerType::loop;
    loop.name = u"Sustain";
    loop.start = 30000;
    loop.end = 72000;
    loop.loopType = LoopType::forward;
    session.document().add(std::move(tone));
  }
  void addSong() {
    auto song = std::make_unique<Song>();
    song->name = u"Study";
    for (int part = 0; part < 3; ++part) {
      auto track = std::make_unique<Track>();
      track->name = part == 0 ? u"Right hand" : part == 1 ? u"Left hand" : u"Bass";
      for (int i = 0; i < 200; ++i) {
        const int key = 74 - 14 * part + (i * 5 + i / 7 * 3) % 12;
        for (const int byte : {0, 0x90 | part, key, 50 + (i * 13) % 70, 0x81, 0x70, 0x80 | part, key, 0})
          track->data.push_back(static_cast<std::byte>(byte));
      }
      song->add(std::move(track));
    }
    session.document().add(std::move(song));
  }
  void take(const QString& name) {
    QApplication::processEvents();
    const QImage image = window.grab().toImage();
    EXPECT_GT(coloursIn(image), 30u);
    EXPECT_TRUE(image.save(qEnvironmentVariable("TERVO_SHOTS", dir.path()) + u'/' + name + ".png"));
  }
  /// A waveform with a loop in the editor, and the whole window with what it usually holds.
  void takeBank(const QString& theme) {
    const auto before = window.chosenItems();
    Waveform& tone = *session.document().waveforms()[0];
    window.tabs().setCurrentWidget(&window.waveform());
    window.list().select({tone.id()});
    QApplication::processEvents();
    window.waveform().view().peaks().wait();
    window.waveform().view().select(4000, 7000);
    window.waveform().view().chooseMarker(0);
    take(theme + "-waveform");
    window.tabs().setCurrentIndex(0);
    window.tree().select(before);
    graphicsShow("V-ENV");
    take(theme + "-main");
  }
  /// Bytes taken as stereo.
  void takeSource(const QString& theme) {
    QFile raw(dir.path() + "/drone.bytes");
    ASSERT_TRUE(raw.open(QIODevice::WriteOnly));
    for (int i = 0; i < 40000; ++i) {
      const double fade = std::exp(-i / 15000.0) * 16000;
      for (const double hertz : {220.0, 330.0}) {
        const auto word = static_cast<int16_t>(fade * std::sin(i * hertz / 44100 * 2 * std::numbers::pi));
        raw.putChar(static_cast<char>(word & 0xFF));
        raw.putChar(static_cast<char>(word >> 8));
      }
    }
    raw.close();
    settings.rawio.layout = u"PCM 16-bit;little;signed;interleaved;2;44100";
    window.openFiles({textOf(raw.fileName())}, OpenMode::merge, RawFallback::forced);
    window.source().view().peaks().wait();
    take(theme + "-source");
    session.undo();
  }
  void graphicsShow(const QString& page) { EXPECT_TRUE(window.graphics().showPage(page)); }
  void takeAll(const QString& theme) {
    GraphicPane& graphics = window.graphics();
    takeBank(theme);
    for (const QString page : {"V-ENV", "P-ENV", "Filter", "EQ", "P-LFO"}) {
      ASSERT_TRUE(graphics.showPage(page));
      if (HandleView* view = page == "EQ" ? static_cast<HandleView*>(&graphics.eq()) : nullptr) view->chooseHandle(1);
      take(theme + u'-' + page.toLower());
    }
    graphics.showPage("Keys");
    for (const int key : {60, 64, 67}) graphics.keys().showKey(key, true);
    const auto before = window.chosenItems();
    window.tree().select({regions[1], regions[2]});
    take(theme + "-keys");
    window.tree().select({session.document().id()});
    QImage cover(400, 400, QImage::Format_RGB32);
    cover.fill(QColor(0x2a, 0x6a, 0x9a));
    ASSERT_TRUE(cover.save(dir.path() + "/cover.png"));
    ASSERT_TRUE(graphics.tags().loadPicture(dir.path() + "/cover.png"));
    take(theme + "-info");
    window.tabs().setCurrentWidget(&window.song());
    window.tree().select({session.document().songs()[0]->tracks()[1]->id()});
    window.song().view().setPlayPosition(20);
    take(theme + "-song");
    takeSource(theme);
    window.tabs().setCurrentIndex(0);
    window.tree().select(before);
  }

  QPalette light = QApplication::palette();
  std::vector<ItemId> regions;
};

TEST_F(EditorPicturesTest, InALightTheme) {
  takeAll("light");
}

TEST_F(EditorPicturesTest, InADarkTheme) {
  QApplication::setPalette(darkPalette());
  takeAll("dark");
}

}  // namespace
}  // namespace tervo::ui
