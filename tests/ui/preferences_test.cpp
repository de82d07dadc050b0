#include "ui/dialogs/preferences_dialog.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>

#include "ui/qt_text.h"

namespace tervo::ui {
namespace {

struct Dialog {
  Settings settings;
  PreferencesDialog dialog{settings, nullptr, u"--> 48000 Hz - 2 channels - Floats"};
  QComboBox& list(TextView key) { return *qobject_cast<QComboBox*>(dialog.field(key)); }
};

TEST(Preferences, ListsSayWhatASettingIsAndTakeWhatIsTyped) {
  Dialog shown;
  EXPECT_EQ(shown.list(u"aio.szAudioOutSampleRate").currentText(), "48000 Hz");
  EXPECT_EQ(shown.list(u"aio.cAudioOutChannels").currentText(), "2 chs");
  EXPECT_EQ(shown.list(u"aio.cAudioOutFormat").currentText(), "16-bit PCM");
  EXPECT_EQ(shown.list(u"sds.szOutDev").itemText(0), "<none>");
  // Without a device the list says so, and the setting stays what it is.
  auto& devices = shown.list(u"aio.szAudioOutDev");
  EXPECT_TRUE(devices.currentText() == "<no audio output>" || devices.currentText() == "Windows default");
  QStringList labels;
  for (const auto* label : shown.dialog.findChildren<QLabel*>()) labels << label->text();
  EXPECT_TRUE(labels.contains("--> 48000 Hz - 2 channels - Floats"));

  shown.list(u"aio.szAudioOutSampleRate").setCurrentText("12345");
  shown.list(u"aio.cAudioOutChannels").setCurrentIndex(0);
  shown.list(u"aio.cAudioOutFormat").setCurrentText("Floats");
  shown.dialog.accept();
  EXPECT_EQ(shown.dialog.result(), QDialog::Accepted);
  EXPECT_EQ(shown.settings.aio.audioOutSampleRate, 12345u);
  EXPECT_EQ(shown.settings.aio.audioOutChannels, 1);
  EXPECT_EQ(shown.settings.aio.audioOutFormat, 255);
  EXPECT_EQ(shown.settings.aio.audioOutDev, defaultAudioDevice);
}

TEST(Preferences, WhatNobodyHonoursIsNotShown) {
  Dialog shown;
  for (const TextView key : {u"app.bCheckForUpdates", u"app.szVSTPaths", u"sds.iOutBits", u"rawio.iCDDev",
                             u"aio.szAudioInDev", u"app.LastPathInW", u"fmt.mp3.bWriteID3"})
    EXPECT_FALSE(shown.dialog.field(key)) << toUtf8(key);
  for (const TextView key : {u"app.wszWave", u"viz.bTrackInEditor", u"rawio.bReplaceColl", u"aio.szMidiInDev"})
    EXPECT_TRUE(shown.dialog.field(key)) << toUtf8(key);
}

}  // namespace
}  // namespace tervo::ui
