#include "core/settings_table.h"

#include <algorithm>
#include <array>

#include "base/last_error.h"
#include "platform/user_folders.h"

namespace tervo {
namespace {

using S = Settings;

template <typename T, std::size_t count>
SettingField fieldOf(std::array<T, count>& values) {
  return std::span<T>(values);
}
template <typename T>
SettingField fieldOf(T& value) {
  if constexpr (std::is_arithmetic_v<T>) {
    return std::span<T>(&value, 1);
  } else {
    return &value;
  }
}

/// The field behind a path of members: at<&S::load, &S::Load::confirm> is load.confirm.
template <auto first, auto... rest>
auto& follow(auto& object) {
  if constexpr (sizeof...(rest) == 0) {
    return object.*first;
  } else {
    return follow<rest...>(object.*first);
  }
}
template <auto... path>
SettingField at(Settings& settings) {
  return fieldOf(follow<path...>(settings));
}

constexpr SettingLimits any{};
constexpr SettingLimits onOff{.low = 0, .high = 255, .isFlag = true};
constexpr SettingLimits bits{.low = 8, .high = 32};
constexpr SettingLimits coding{.low = 8, .high = 255};  // 255: floats
constexpr SettingLimits oneOrTwo{.low = 1, .high = 2};
constexpr SettingLimits rate{.low = 1000, .high = 768000};
constexpr SettingLimits gain{.low = -96, .high = 24};
constexpr SettingLimits voices{.low = 1, .high = 4096};

/// Stands for the bank that the system comes with.
constexpr TextView gmBank = u"<system>";

constexpr auto binary = StoredAs::binary;
constexpr auto number = StoredAs::number;
constexpr auto text = StoredAs::text;

// The names of two values lie: both sample rates of aio are numbers although they are called texts.
// clang-format off
constexpr SettingRow rows[] = {
    // key                           stored  size  field                                                default                 limits    meaning
    {u"VersionNumber",               text,      0, at<&S::versionNumber>,                               u"0.0",                 any,      u"Version that last wrote the settings"},
    {u"app.LastFilesW",              binary, 1024, at<&S::app, &S::App::lastFiles>,                     u"",                    any,      u"Recent files, newest first"},
    {u"app.LastPathInW",             text,    260, at<&S::app, &S::App::lastPathIn>,                    u"",                    any,      u"Folder that a file was last opened from"},
    {u"app.LastPathOutW",            text,    260, at<&S::app, &S::App::lastPathOut>,                   u"",                    any,      u"Folder that a file was last saved to"},
    {u"app.aiLastExp",               binary,   20, at<&S::app, &S::App::lastExp>,                       u"0, 0, 0, 0, 0",       any,      u"Export formats chosen last"},
    {u"app.ptLastPos",               binary,    8, at<&S::app, &S::App::lastPos>,                       u"0, 0",                any,      u"Position of the main window (x, y)"},
    {u"app.ptLastSize",              binary,    8, at<&S::app, &S::App::lastSize>,                      u"0, 0",                any,      u"Size of the main window (width, height)"},
    {u"app.iPaneSplitL",             number,    4, at<&S::app, &S::App::paneSplitL>,                    u"221",                 any,      u"Position of the left pane splitter"},
    {u"app.awColWidths",             binary,   10, at<&S::app, &S::App::colWidths>,                     u"160, 62, 50, 40, 40", any,      u"Column widths of the item list"},
    {u"app.bCheckForUpdates",        binary,    1, at<&S::app, &S::App::checkForUpdates>,               u"0xFF",                onOff,    u"General: Check for updates when the program is started (requires internet)"},
    {u"app.bDispBankPrgs",           binary,    1, at<&S::app, &S::App::dispBankPrgs>,                  u"1",                   onOff,    u"General: Display instrument hi-bank (MIDI CC0) + program numbers in the collection tree"},
    {u"app.bDispLoBank",             binary,    1, at<&S::app, &S::App::dispLoBank>,                    u"0",                   onOff,    u"General: Display instrument lo-bank numbers (MIDI CC20) in addition to the hi-bank"},
    {u"app.bAutoSelWaveforms",       binary,    1, at<&S::app, &S::App::autoSelWaveforms>,              u"1",                   onOff,    u"General: Auto-select waveforms when you click on a collection item"},
    {u"app.bAutoSelCollItems",       binary,    1, at<&S::app, &S::App::autoSelCollItems>,              u"0",                   onOff,    u"General: Auto-select collection items when you click on a waveform"},
    {u"app.bPropagateDownDelta",     binary,    1, at<&S::app, &S::App::propagateDownDelta>,            u"0",                   onOff,    u"General: Propagate down delta of edited articulation parameters to lower levels"},
    {u"app.bPersistentState",        binary,    1, at<&S::app, &S::App::persistentState>,               u"0",                   onOff,    u"General: Remember the program state between sessions (saves the contents on exit)"},
    {u"app.bShowNoteNames",          binary,    1, at<&S::app, &S::App::showNoteNames>,                 u"1",                   onOff,    u"General: Display note names rather than MIDI key numbers"},
    {u"app.bMidIsNamedC3",           binary,    1, at<&S::app, &S::App::midIsNamedC3>,                  u"0",                   onOff,    u"General: Display the note name C3 rather than C4 for middle C"},
    {u"load.bConfirm",               binary,    1, at<&S::load, &S::Load::confirm>,                     u"0",                   onOff,    u"General: Confirm before losing loaded data (e.g. when loading a new file, or exiting)"},
    {u"load.bAutoSplitStereo",       binary,    1, at<&S::load, &S::Load::autoSplitStereo>,             u"0",                   onOff,    u"On Load: Split stereo waveforms into dual mono waveform pairs"},
    {u"load.bAutoMergeStereo",       binary,    1, at<&S::load, &S::Load::autoMergeStereo>,             u"1",                   onOff,    u"On Load: Merge dual mono waveform pairs into single interleaved stereo waveforms"},
    {u"load.bAutoCompactLayers",     binary,    1, at<&S::load, &S::Load::autoCompactLayers>,           u"1",                   onOff,    u"On Load: Merge layers with non-overlapping regions"},
    {u"load.bAutoRemoveDupWaves",    binary,    1, at<&S::load, &S::Load::autoRemoveDupWaves>,          u"1",                   onOff,    u"On Load: Remove duplicate waveforms when merging files"},
    {u"load.bAutoMoveArticulation",  binary,    1, at<&S::load, &S::Load::autoMoveArticulation>,        u"0",                   onOff,    u"On Load: Move articulation parameters up if they are all equal on lower levels"},
    {u"load.bAutoMoveTriggerParams", binary,    1, at<&S::load, &S::Load::autoMoveTriggerParams>,       u"1",                   onOff,    u"On Load: Move trigger parameters to layer if are all equal on region level"},
    {u"load.bAutoAppend32",          binary,    1, at<&S::load, &S::Load::autoAppend32>,                u"0",                   onOff,    u"On Load: Append 32 wavesamples after loop-end points (if shorter than that)"},
    {u"load.bAutoBid2Fwd",           binary,    1, at<&S::load, &S::Load::autoBid2Fwd>,                 u"0",                   onOff,    u"On Load: Convert alternating/reverse loops into equivalent forward loops"},
    {u"load.bAutoSortColl",          binary,    1, at<&S::load, &S::Load::autoSortColl>,                u"1",                   onOff,    u"On Load: Sort instruments by bank & program number"},
    {u"load.bAutoSortWaves",         binary,    1, at<&S::load, &S::Load::autoSortWaves>,               u"1",                   onOff,    u"On Load: Sort waveforms by name"},
    {u"load.bEnsureUniqueNames",     binary,    1, at<&S::load, &S::Load::ensureUniqueNames>,           u"1",                   onOff,    u"General: Ensure that every waveform and instrument name is unique"},
    {u"aio.szAudioOutDev",           text,     64, at<&S::aio, &S::Aio::audioOutDev>,                   u"Windows default",     any,      u"Audio output device"},
    {u"aio.bAudioOutExclusive",      binary,    1, at<&S::aio, &S::Aio::audioOutExclusive>,             u"0",                   onOff,    u"Use the output device in exclusive mode"},
    {u"aio.cAudioOutFormat",         binary,    1, at<&S::aio, &S::Aio::audioOutFormat>,                u"16",                  coding,   u"Output sample width in bits"},
    {u"aio.cAudioOutChannels",       binary,    1, at<&S::aio, &S::Aio::audioOutChannels>,              u"2",                   oneOrTwo, u"Output channels"},
    {u"aio.szAudioOutSampleRate",    number,    4, at<&S::aio, &S::Aio::audioOutSampleRate>,            u"48000",               rate,     u"Output sample rate in Hz"},
    {u"aio.szAudioInDev",            text,     64, at<&S::aio, &S::Aio::audioInDev>,                    u"Windows default",     any,      u"Audio input device"},
    {u"aio.bAudioInExclusive",       binary,    1, at<&S::aio, &S::Aio::audioInExclusive>,              u"0",                   onOff,    u"Use the input device in exclusive mode"},
    {u"aio.cAudioInFormat",          binary,    1, at<&S::aio, &S::Aio::audioInFormat>,                 u"16",                  bits,     u"Input sample width in bits"},
    {u"aio.cAudioInChannels",        binary,    1, at<&S::aio, &S::Aio::audioInChannels>,               u"2",                   oneOrTwo, u"Input channels"},
    {u"aio.bAudioInAGC",             binary,    1, at<&S::aio, &S::Aio::audioInAgc>,                    u"1",                   onOff,    u"Automatic gain control on input"},
    {u"aio.bAudioInMono",            binary,    1, at<&S::aio, &S::Aio::audioInMono>,                   u"0",                   onOff,    u"Record mono"},
    {u"aio.szAudioInSampleRate",     number,    4, at<&S::aio, &S::Aio::audioInSampleRate>,             u"48000",               rate,     u"Input sample rate in Hz"},
    {u"aio.szMidiInDev",             text,     32, at<&S::aio, &S::Aio::midiInDev>,                     u"",                    any,      u"MIDI input device; \"<none>\" for none"},
    {u"aio.nLatency",                number,    4, at<&S::aio, &S::Aio::latency>,                       u"-1",                  any,      u"Output latency"},
    {u"aio.fdbMixGain",              number,    4, at<&S::aio, &S::Aio::mixGain>,                       u"6.0",                 gain,     u"Gain of the synthesizer mix in dB"},
    {u"aio.fdbWaveGain",             number,    4, at<&S::aio, &S::Aio::waveGain>,                      u"-6.0",                gain,     u"Gain of waveform auditioning in dB"},
    {u"aio.bEnable",                 binary,    1, at<&S::aio, &S::Aio::enable>,                        u"0",                   onOff,    u"Audio output is enabled"},
    {u"aio.bVKeyboard",              binary,    1, at<&S::aio, &S::Aio::vKeyboard>,                     u"1",                   onOff,    u"Show the virtual keyboard"},
    {u"aio.bPlayWaveOnClick",        binary,    1, at<&S::aio, &S::Aio::playWaveOnClick>,               u"1",                   onOff,    u"General: Auto-audition waveforms (play for 1 s when selecting a waveform)"},
    {u"aio.bPlayCollOnClick",        binary,    1, at<&S::aio, &S::Aio::playCollOnClick>,               u"0",                   onOff,    u"General: Auto-audition collection (play for 1 s when selecting an instrument)"},
    {u"aio.acVKlo",                  binary,   38, at<&S::aio, &S::Aio::vkLo>,                          u"ZSXDCVGBHNJM,L.",     any,      u"Computer keys of the virtual keyboard's lower octave, one character a semitone"},
    {u"aio.acVKhi",                  binary,   38, at<&S::aio, &S::Aio::vkHi>,                          u"Q2W3ER5T6Y7UI9O0P",   any,      u"Computer keys of the virtual keyboard's upper octave, one character a semitone"},
    {u"viz.bWaveDispFill",           binary,    1, at<&S::viz, &S::Viz::waveDispFill>,                  u"1",                   onOff,    u"Waveform display: filled"},
    {u"viz.bWaveDispSplit",          binary,    1, at<&S::viz, &S::Viz::waveDispSplit>,                 u"0",                   onOff,    u"Waveform display: split"},
    {u"viz.bTrackInEditor",          binary,    1, at<&S::viz, &S::Viz::trackInEditor>,                 u"1",                   onOff,    u"Waveform display: track in editor"},
    {u"viz.bSpectrum",               binary,    1, at<&S::viz, &S::Viz::spectrum>,                      u"0",                   onOff,    u"Waveform display: spectrum"},
    {u"viz.bChannels",               binary,    1, at<&S::viz, &S::Viz::channels>,                      u"0",                   onOff,    u"Waveform display: channels"},
    {u"sds.szOutDev",                text,     32, at<&S::sds, &S::Sds::outDev>,                        u"",                    any,      u"MIDI output device"},
    {u"sds.szInDev",                 text,     32, at<&S::sds, &S::Sds::inDev>,                         u"",                    any,      u"MIDI input device for sample-dump transfer"},
    {u"sds.iOutChannel",             number,    4, at<&S::sds, &S::Sds::outChannel>,                    u"0",                   any,      u"Sample-dump channel for sending"},
    {u"sds.iInChannel",              number,    4, at<&S::sds, &S::Sds::inChannel>,                     u"-1",                  any,      u"Sample-dump channel for receiving"},
    {u"sds.iOutBits",                number,    4, at<&S::sds, &S::Sds::outBits>,                       u"0",                   any,      u"Sample-dump bit width for sending"},
    {u"rawio.iCDDev",                number,    4, at<&S::rawio, &S::RawIo::cdDev>,                     u"0",                   any,      u"Device that sampler discs are read from"},
    {u"rawio.bReplaceColl",          binary,    1, at<&S::rawio, &S::RawIo::replaceColl>,               u"1",                   onOff,    u"Reading a disc or raw data replaces the collection"},
    {u"rawio.szLayout",              text,    128, at<&S::rawio, &S::RawIo::layout>,                    u"",                    any,      u"Layout in which raw data were read last"},
    {u"app.wszWave",                 text,    260, at<&S::app, &S::App::wave>,                          u"",                    any,      u"External waveform editor"},
    {u"app.wszMidi",                 text,    260, at<&S::app, &S::App::midi>,                          u"",                    any,      u"External MIDI editor"},
    {u"app.szVSTPaths",              text,      0, at<&S::app, &S::App::vstPaths>,                      u"",                    any,      u"Folders searched for effect plug-ins"},
    {u"sall.iMode",                  number,    4, at<&S::sall, &S::SaveAll::mode>,                     u"213",                 any,      u"Mode of saving several items"},
    {u"sall.bSubDirs",               binary,    1, at<&S::sall, &S::SaveAll::subDirs>,                  u"0",                   onOff,    u"Saving several items: into sub-folders"},
    {u"sy2wt.dwSampleRate",          number,    4, at<&S::sy2wt, &S::SynthToWave::sampleRate>,          u"48000",               rate,     u"Synth to waveform: sample rate in Hz"},
    {u"sy2wt.dwmsMaxLength",         number,    4, at<&S::sy2wt, &S::SynthToWave::msMaxLength>,         u"2000",                any,      u"Synth to waveform: longest rendering in ms"},
    {u"sy2wt.dwmsMinLength",         number,    4, at<&S::sy2wt, &S::SynthToWave::msMinLength>,         u"250",                 any,      u"Synth to waveform: shortest rendering in ms"},
    {u"sy2wt.iNumWaves",             number,    4, at<&S::sy2wt, &S::SynthToWave::numWaves>,            u"1",                   voices,   u"Synth to waveform: number of waveforms made"},
    {u"mid2wav.dwSampleRate",        number,    4, at<&S::mid2wav, &S::MidiToWave::sampleRate>,         u"48000",               rate,     u"Song to waveform: sample rate in Hz"},
    {u"mid2wav.bEffects",            binary,    1, at<&S::mid2wav, &S::MidiToWave::effects>,            u"1",                   onOff,    u"Song to waveform: render with effects"},
    {u"mid2wav.bDeleteSrc",          binary,    1, at<&S::mid2wav, &S::MidiToWave::deleteSrc>,          u"0",                   onOff,    u"Song to waveform: delete the song afterwards"},
    {u"mid2wav.bNormalizePeak",      binary,    1, at<&S::mid2wav, &S::MidiToWave::normalizePeak>,      u"1",                   onOff,    u"Song to waveform: normalise the peak"},
    {u"mid2wav.bDeleteSilence",      binary,    1, at<&S::mid2wav, &S::MidiToWave::deleteSilence>,      u"1",                   onOff,    u"Song to waveform: cut silence"},
    {u"mid2wav.wszGMBank",           text,    260, at<&S::mid2wav, &S::MidiToWave::gmBank>,             gmBank,                 any,      u"Song to waveform: General MIDI sound bank"},
    {u"mid2wav.iMaxPolyphony",       number,    4, at<&S::mid2wav, &S::MidiToWave::maxPolyphony>,       u"128",                 voices,   u"Song to waveform: voices"},
    {u"fmt.mp3.bWriteID3",           binary,    1, at<&S::fmt, &S::Fmt::mp3, &S::Fmt::Mp3::writeId3>,   u"1",                   onOff,    u"On Save: MP3 files: Write ID3 v2 tags"},
    {u"fmt.mp3.bWriteAPE",           binary,    1, at<&S::fmt, &S::Fmt::mp3, &S::Fmt::Mp3::writeApe>,   u"0",                   onOff,    u"On Save: MP3 files: Write APE tags"},
    {u"fmt.mp3.bWriteJS",            binary,    1, at<&S::fmt, &S::Fmt::mp3, &S::Fmt::Mp3::writeJs>,    u"1",                   onOff,    u"On Save: MP3 files: Allow joint stereo mode"},
    {u"fmt.mp2.bWriteID3",           binary,    1, at<&S::fmt, &S::Fmt::mp2, &S::Fmt::Mp2::writeId3>,   u"0",                   onOff,    u"On Save: MP2 files: Write ID3 v2 tags"},
    {u"fmt.mp2.bWriteJS",            binary,    1, at<&S::fmt, &S::Fmt::mp2, &S::Fmt::Mp2::writeJs>,    u"1",                   onOff,    u"On Save: MP2 files: Allow joint stereo mode"},
    {u"fmt.aac.bWriteID3",           binary,    1, at<&S::fmt, &S::Fmt::aac, &S::Fmt::Aac::writeId3>,   u"0",                   onOff,    u"On Save: AAC files: Write ID3 v2 tags"},
    {u"fmt.aac.bWriteAPE",           binary,    1, at<&S::fmt, &S::Fmt::aac, &S::Fmt::Aac::writeApe>,   u"0",                   onOff,    u"On Save: AAC files: Write APE tags"},
    {u"fmt.aac.bWriteMS",            binary,    1, at<&S::fmt, &S::Fmt::aac, &S::Fmt::Aac::writeMs>,    u"1",                   onOff,    u"On Save: AAC files: Allow mid-side stereo mode"},
    {u"fmt.vox.dwDataFormat",        number,    4, at<&S::fmt, &S::Fmt::vox, &S::Fmt::Vox::dataFormat>, u"0x08002000",          any,      u"Data format of .VOX files (usually Dialogic ADPCM)"},
    {u"fmt.sd2.dwSampleRate",        number,    4, at<&S::fmt, &S::Fmt::sd2, &S::Fmt::Sd2::sampleRate>, u"44100",               rate,     u"Sample rate to used when reading 'data fork' .SD2 files"},
    {u"fmt.sd2.iChannels",           number,    4, at<&S::fmt, &S::Fmt::sd2, &S::Fmt::Sd2::channels>,   u"2",                   oneOrTwo, u"Channel count (1 or 2) used when reading 'data fork' .SD2 files"},
    {u"fmt.sd2.iBits",               number,    4, at<&S::fmt, &S::Fmt::sd2, &S::Fmt::Sd2::bits>,       u"16",                  bits,     u"Data format be used when reading 'data fork' .SD2 files"},
};
// clang-format on

}  // namespace

std::span<const SettingRow> settingRows() {
  return rows;
}

const SettingRow* findSetting(TextView key) {
  for (const SettingRow& row : rows) {
    if (equalNoCase(row.key, key)) return &row;
  }
  return fail(u"Unknown setting \"" + Text(key) + u"\"");
}

SettingField fieldOf(const Settings& settings, const SettingRow& row) {
  return row.field(const_cast<Settings&>(settings));
}

Text defaultSettingText(const SettingRow& row) {
  return row.standard == gmBank ? platform::generalMidiBank() : Text(row.standard);
}

Settings::Settings() {
  for (const SettingRow& row : rows) setSettingText(*this, row, defaultSettingText(row));
}

}  // namespace tervo
