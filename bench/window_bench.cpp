// The window with a large bank: 10,000 regions in 100 instruments, and 1,500 waveforms. QT_QPA_PLATFORM=offscreen runs
// it without a screen.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QTemporaryDir>

#include "core/level_edit.h"
#include "core/parameter_access.h"
#include "ui/collection_tree.h"
#include "ui/main_window.h"
#include "ui/qt_text.h"
#include "ui/sound/player.h"

namespace {

using namespace tervo;

constexpr int instruments = 100, layersOfInstrument = 4, regionsOfLayer = 25, waveforms = 1500;

QApplication& application() {
  static int count = 1;
  static char name[] = "window_bench";
  static char* arguments[] = {name, nullptr};
  // Never destroyed: the platform's plug-in is gone by the time that statics are.
  static auto* made = new QApplication(count, arguments);
  return *made;
}

void fill(Collection& collection) {
  const auto samples = makeResident(std::vector<float>(1000, 0.25f), 1);
  for (int i = 0; i < waveforms; ++i) {
    auto waveform = std::make_unique<Waveform>();
    waveform->name = fromUtf8("Sample " + std::to_string(i));
    waveform->samples = samples;
    collection.add(std::move(waveform));
  }
  int next = 0;
  for (int i = 0; i < instruments; ++i) {
    auto instrument = std::make_unique<Instrument>();
    instrument->name = fromUtf8("Instrument " + std::to_string(i));
    instrument->program = static_cast<uint8_t>(i);
    for (int k = 0; k < layersOfInstrument; ++k) {
      Layer& layer = instrument->add(std::make_unique<Layer>());
      for (int r = 0; r < regionsOfLayer; ++r) {
        Region& region = layer.add(std::make_unique<Region>());
        region.waveform = collection.waveforms()[static_cast<std::size_t>(next++ % waveforms)]->id();
        setParameterValue(region.id(), ParameterId::triggerLowKey, 4 * r);
        setParameterValue(region.id(), ParameterId::triggerHighKey, 4 * r + 3);
        setParameterValue(region.id(), ParameterId::filterCutoff, 500 + next);
      }
    }
    collection.add(std::move(instrument));
  }
}

struct Lab {
  Lab() {
    application();
    settings.aio.playCollOnClick = 0;
    window = std::make_unique<ui::MainWindow>(session, player);
    window->resize(1280, 800);
    window->show();
    fill(session.document());
    paint();
  }
  void paint() {
    QApplication::processEvents();
    window->repaint();
  }

  QTemporaryDir dir;
  Settings settings;
  ui::WindowHost host;
  ui::DocumentSession session{settings, host, ui::textOf(dir.path())};
  ui::Player player{session};
  std::unique_ptr<ui::MainWindow> window;
};

/// From the moment that the document is there.
void paintBank(benchmark::State& state) {
  Lab lab;
  for (auto _ : state) {
    Q_EMIT lab.session.replaced();
    lab.paint();
  }
}
BENCHMARK(paintBank)->Unit(benchmark::kMillisecond);

void selectRegions(benchmark::State& state) {
  Lab lab;
  Q_EMIT lab.session.replaced();
  std::vector<ItemId> regions;
  for (const auto& instrument : lab.session.document().instruments())
    for (const auto& layer : instrument->layers())
      for (const auto& region : layer->regions())
        if (regions.size() < 1000) regions.push_back(region->id());
  for (auto _ : state) {
    state.PauseTiming();
    lab.window->tree().select({lab.session.document().id()});
    lab.paint();
    state.ResumeTiming();
    lab.window->tree().select(regions);
    lab.paint();
  }
}
BENCHMARK(selectRegions)->Unit(benchmark::kMillisecond);

}  // namespace
