#pragma once
// All user preferences in one record that the rest of the program reads directly. Loaded once at start-up, written back
// once at exit. The table in settings_table.cpp says each field's key, storage type, size, default and meaning.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"

namespace tervo {

namespace platform {
class SettingsBackend;
}

/// Fields are grouped and named after their keys: `load.bAutoSplitStereo` is load.autoSplitStereo, in the order of the
/// table. On/off fields hold the stored byte, any value but 0 being on. A new record holds the table's defaults.
struct Settings {
  Settings();
  bool operator==(const Settings&) const = default;

  Text versionNumber;     ///< the version that last wrote the store
  bool firstRun = false;  ///< nothing had been stored for this user; not stored itself

  struct App {
    std::vector<Text> lastFiles;  ///< newest first
    Text lastPathIn;
    Text lastPathOut;
    std::array<int32_t, 5> lastExp{};
    std::array<int32_t, 2> lastPos{};   ///< x, y
    std::array<int32_t, 2> lastSize{};  ///< width, height
    int32_t paneSplitL = 0;
    std::array<uint16_t, 5> colWidths{};
    uint8_t checkForUpdates = 0;
    uint8_t dispBankPrgs = 0;
    uint8_t dispLoBank = 0;
    uint8_t autoSelWaveforms = 0;
    uint8_t autoSelCollItems = 0;
    uint8_t propagateDownDelta = 0;
    uint8_t persistentState = 0;
    uint8_t showNoteNames = 0;
    uint8_t midIsNamedC3 = 0;
    Text wave;
    Text midi;
    Text vstPaths;
    bool operator==(const App&) const = default;
  } app;

  struct Load {
    uint8_t confirm = 0;
    uint8_t autoSplitStereo = 0;
    uint8_t autoMergeStereo = 0;
    uint8_t autoCompactLayers = 0;
    uint8_t autoRemoveDupWaves = 0;
    uint8_t autoMoveArticulation = 0;
    uint8_t autoMoveTriggerParams = 0;
    uint8_t autoAppend32 = 0;
    uint8_t autoBid2Fwd = 0;
    uint8_t autoSortColl = 0;
    uint8_t autoSortWaves = 0;
    uint8_t ensureUniqueNames = 0;
    bool operator==(const Load&) const = default;
  } load;

  struct Aio {
    Text audioOutDev;
    uint8_t audioOutExclusive = 0;
    uint8_t audioOutFormat = 0;  ///< bits
    uint8_t audioOutChannels = 0;
    uint32_t audioOutSampleRate = 0;  ///< Hz
    Text audioInDev;
    uint8_t audioInExclusive = 0;
    uint8_t audioInFormat = 0;  ///< bits
    uint8_t audioInChannels = 0;
    uint8_t audioInAgc = 0;
    uint8_t audioInMono = 0;
    uint32_t audioInSampleRate = 0;  ///< Hz
    Text midiInDev;
    int32_t latency = 0;
    float mixGain = 0;   ///< dB
    float waveGain = 0;  ///< dB
    uint8_t enable = 0;
    uint8_t vKeyboard = 0;
    uint8_t playWaveOnClick = 0;
    uint8_t playCollOnClick = 0;
    std::string vkLo;  ///< one character a semitone, see virtualKeyCodes()
    std::string vkHi;
    bool operator==(const Aio&) const = default;
  } aio;

  struct Viz {
    uint8_t waveDispFill = 0;
    uint8_t waveDispSplit = 0;
    uint8_t trackInEditor = 0;
    uint8_t spectrum = 0;
    uint8_t channels = 0;
    bool operator==(const Viz&) const = default;
  } viz;

  struct Sds {
    Text outDev;
    Text inDev;
    int32_t outChannel = 0;
    int32_t inChannel = 0;
    int32_t outBits = 0;
    bool operator==(const Sds&) const = default;
  } sds;

  struct RawIo {
    int32_t cdDev = 0;
    uint8_t replaceColl = 0;
    Text layout;  ///< in which raw data were read last, as the window writes it
    bool operator==(const RawIo&) const = default;
  } rawio;

  struct SaveAll {
    int32_t mode = 0;
    uint8_t subDirs = 0;
    bool operator==(const SaveAll&) const = default;
  } sall;

  struct SynthToWave {
    uint32_t sampleRate = 0;   ///< Hz
    uint32_t msMaxLength = 0;  ///< milliseconds
    uint32_t msMinLength = 0;  ///< milliseconds
    int32_t numWaves = 0;
    bool operator==(const SynthToWave&) const = default;
  } sy2wt;

  struct MidiToWave {
    uint32_t sampleRate = 0;  ///< Hz
    uint8_t effects = 0;
    uint8_t deleteSrc = 0;
    uint8_t normalizePeak = 0;
    uint8_t deleteSilence = 0;
    Text gmBank;
    int32_t maxPolyphony = 0;
    bool operator==(const MidiToWave&) const = default;
  } mid2wav;

  struct Fmt {
    struct Mp3 {
      uint8_t writeId3 = 0;
      uint8_t writeApe = 0;
      uint8_t writeJs = 0;
      bool operator==(const Mp3&) const = default;
    } mp3;
    struct Mp2 {
      uint8_t writeId3 = 0;
      uint8_t writeJs = 0;
      bool operator==(const Mp2&) const = default;
    } mp2;
    struct Aac {
      uint8_t writeId3 = 0;
      uint8_t writeApe = 0;
      uint8_t writeMs = 0;
      bool operator==(const Aac&) const = default;
    } aac;
    struct Vox {
      uint32_t dataFormat = 0;
      bool operator==(const Vox&) const = default;
    } vox;
    struct Sd2 {
      uint32_t sampleRate = 0;  ///< Hz
      int32_t channels = 0;
      int32_t bits = 0;
      bool operator==(const Sd2&) const = default;
    } sd2;
    bool operator==(const Fmt&) const = default;
  } fmt;
};

/// The version that this program stores.
inline constexpr TextView settingsVersion = u"12.9";

/// Sets every field to its default and then to what is stored. A value that is missing or cannot be read leaves the
/// default; one that is shorter than its field leaves the rest of the field at its default. Stores nothing; the record
/// then holds this program's version, and firstRun says whether there was none before.
void ReadSettings(Settings& settings, platform::SettingsBackend& backend);
/// The start-up of the desktop program: ReadSettings, and the version is stored when an older one, or none, had been.
/// False with LastErrorText when it could not be; the record is complete all the same.
bool LoadSettings(Settings& settings, platform::SettingsBackend& backend);
/// Stores every value. Of two programs that end with different values for one key the later one's stays.
bool SaveSettings(const Settings& settings, platform::SettingsBackend& backend);

inline constexpr TextView defaultAudioDevice = u"Windows default";
inline constexpr TextView noMidiDevice = u"<none>";

/// Names of the devices that there are now.
struct DeviceNames {
  std::vector<Text> audioOut, audioIn, midiIn;
};
/// Turns devices that no longer exist into the default ones, with exclusive mode off. Called once the devices are
/// known.
void FallBackToExistingDevices(Settings& settings, const DeviceNames& existing);

/// Puts a file first in the recent-files list, once, as far as the stored list has room.
void RememberFile(Settings& settings, TextView path);

/// The keys of the virtual keyboard (aio.vkLo, aio.vkHi) as virtual-key codes of a US keyboard, one a character; 0
/// where no single key types the character.
std::vector<uint8_t> virtualKeyCodes(std::string_view characters);

/// Names of the clipboard's formats; the version in them keeps the data of other versions apart.
inline constexpr std::array<TextView, 7> clipboardFormatNames = {u"12.9.0.0 Item",  u"12.9.0.0 Art",  u"12.9.0.0 LFO",
                                                                 u"12.9.0.0 EG",    u"12.9.0.0 Loop", u"12.9.0.0 EQs",
                                                                 u"12.9.0.0 Filter"};

}  // namespace tervo
