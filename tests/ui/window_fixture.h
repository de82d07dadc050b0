#pragma once
// A main window with a document of its own, settings that nobody stores, and a folder that goes away.

#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "ui/collection_tree.h"
#include "ui/main_window.h"
#include "ui/property_model.h"
#include "ui/property_pane.h"
#include "ui/qt_text.h"
#include "ui/sound/player.h"
#include "ui/waveform_list.h"

namespace tervo::ui {

class WindowTest : public testing::Test {
 protected:
  WindowTest() { window.show(); }
  // Opening a file moves to its folder, which Windows then would not delete.
  ~WindowTest() override { QDir::setCurrent(start); }

  Text folder() const { return textOf(dir.path()); }

  /// Two layers of so many regions each, which all play one waveform.
  Instrument& addInstrument(TextView name, int regionsPerLayer = 2) {
    Collection& document = session.document();
    if (document.waveforms().empty()) {
      auto waveform = std::make_unique<Waveform>();
      waveform->name = u"Sine";
      waveform->samples = makeResident(std::vector<float>(1000, 0.25f), 1);
      document.add(std::move(waveform));
    }
    auto instrument = std::make_unique<Instrument>();
    instrument->name = name;
    for (int layer = 0; layer < 2; ++layer) {
      Layer& added = instrument->add(std::make_unique<Layer>());
      for (int region = 0; region < regionsPerLayer; ++region)
        added.add(std::make_unique<Region>()).waveform = document.waveforms()[0]->id();
    }
    return document.add(std::move(instrument));
  }

  const QString start = QDir::currentPath();
  QTemporaryDir dir;
  Settings settings;
  WindowHost host;
  DocumentSession session{settings, host, folder()};
  Player player{session, [](const platform::AudioRequest& request) {
                  platform::AudioRequest nobody = request;
                  nobody.device = platform::nullDeviceName;
                  return platform::AudioDevice::open(nobody);
                }};
  MainWindow window{session, player};
};

}  // namespace tervo::ui
