#include "audio/output/synth_front.h"

#include "audio/output/audition.h"
#include "audio/output/note_messages.h"
#include "audio/output/song_sender.h"
#include "audio/render/song_renderer.h"
#include "core/sample_data.h"
#include "platform/thread.h"
#include "tests/audio/output/output_bench.h"
#include "tests/audio/sound_lab.h"
#include "tests/core/song_builder.h"
#include "tests/platform/test_folder.h"

namespace tervo::test {
namespace {

using audio::SynthFront;

/// Notes with rests. The first one ends while its tuning is on the way through 126 semitones, and leaves no reverb.
std::unique_ptr<Song> someNotes() {
  const TrackBytes tuned =
      trackBytes({0, 0xB0, 91, 0, 0, 101, 0, 0, 100, 2, 0, 6, 127, 0, 0x90, 60, 127, 0, 0xB0, 6, 1, 1, 0x90, 60, 0});
  const TrackBytes later = trackBytes({0x84, 0, 0x90, 100, 127, 0x60, 100, 0, 0, 0xB0, 91, 40, 0, 6, 64});
  return songOf(0, 480, {tuned + later + trackBytes({0x86, 0,    0x90, 60, 127,  0x60, 67, 100, 0x83, 0x60, 60,
                                                     0,    0x60, 0x90, 64, 80,  //
                                                     0x83, 0x60, 64,   0,  0x10, 67,   0,  0,   0xFF, 0x2F, 0})});
}

/// Everything that a device with buffers of this length gets.
Frames heard(SynthFront& synth, std::size_t bufferFrames) {
  Frames all, buffer(2 * bufferFrames);
  while (!synth.isFinished()) {
    const std::size_t frames = synth.render(buffer);
    all.insert(all.end(), buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(2 * frames));
  }
  return all;
}

/// A song on the file device, with buffers of 10 ms.
TEST(SynthFront, TheFileDeviceGetsWhatIsRendered) {
  SoundLab lab;
  lab.addSine();
  const auto song = someNotes();
  Host host;
  audio::RenderOptions options;
  options.normalised = options.cutsSilence = false;
  options.workers = 1;
  options.voices = 16;
  const auto rendered = audio::renderSong(*song, {lab.collection, nullptr, host, options});
  ASSERT_TRUE(rendered);
  Frames expected(static_cast<std::size_t>(rendered->frames()) * 2);
  ASSERT_TRUE(rendered->samples->open()->read(expected));
  ASSERT_GT(peak(expected), 0.05);

  const TestFolder folder;
  platform::AudioRequest request;
  request.device = Text(platform::fileDevicePrefix) + folder.text(u"played.wav");
  request.pace = platform::AudioPace::asFastAsItGoes;
  audio::AudioOutput output(request);
  SynthFront::Setup setup;
  setup.voices = 16;
  setup.masterGain = 0.25f;  // what rendering takes for 16 voices
  setup.workers = 2;
  const auto synth = startSynth(output, setup);
  ASSERT_TRUE(synth && synth->engine().loadInstrument(*lab.instrument, Loading::stopped));
  synth->perform(audio::flatten(*song), std::nullopt);
  ASSERT_TRUE(output.attach(synth));
  while (output.isPlaying(*synth)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  ASSERT_TRUE(output.finish());

  const std::string file = folder.get(u"played.wav");
  const std::size_t header = file.find("data") + 8;
  ASSERT_EQ(file.size() - header, expected.size() * sizeof(float));
  EXPECT_EQ(std::memcmp(file.data() + header, expected.data(), expected.size() * sizeof(float)), 0);
}

TEST(SynthFront, ADeviceNeedsAThread) {
  const TestFolder folder;
  for (const Text& device : {Text(u"null"), Text(platform::fileDevicePrefix) + folder.text(u"played.wav")}) {
    platform::AudioRequest request;
    request.device = device;
    audio::AudioOutput output(request);
    platform::limitThreads(0);
    EXPECT_FALSE(startSynth(output, {.voices = 4, .workers = 2}));
    platform::limitThreads(-1);
    EXPECT_EQ(LastErrorText(), u"Couldn't open the audio device!");
    EXPECT_EQ(output.cause(), u"Could not start a thread");
    EXPECT_TRUE(std::filesystem::is_empty(folder / u""));
    EXPECT_TRUE(startSynth(output, {.voices = 4, .workers = 2}));
  }
}

TEST(SynthFront, BuffersOfAnyLengthSoundTheSame) {
  SoundLab lab;
  lab.addSine();
  std::vector<Frames> results;
  for (const std::size_t bufferFrames : {64u, 37u, 480u, 5000u}) {
    const auto synth = SynthFront::create({.voices = 4, .workers = 1}, 48000, 0);
    ASSERT_TRUE(synth->engine().loadInstrument(*lab.instrument, Loading::stopped));
    synth->perform(audio::notesInTurn({{60, 64}, {67}}, 100, audio::melodicChannel), std::nullopt);
    results.push_back(heard(*synth, bufferFrames));
    EXPECT_EQ(results.back(), results.front()) << bufferFrames;
  }
  EXPECT_GT(peak(results[0]), 0.1);
}

TEST(SynthFront, LiveGainLeavesRoom) {
  EXPECT_FLOAT_EQ(audio::liveMasterGain(1), 1);
  EXPECT_FLOAT_EQ(audio::liveMasterGain(4), 1);
  EXPECT_FLOAT_EQ(audio::liveMasterGain(100), 0.25f);
}

TEST(SynthFront, AKeyboardPlaysOneInstrument) {
  SoundLab lab;
  lab.addSine();
  const auto synth = SynthFront::create({.hasEffects = false, .workers = 1}, 48000, 480);
  ASSERT_TRUE(synth->engine().loadInstrumentAs(*lab.instrument, audio::numberOnChannel(0), Loading::stopped));
  Frames buffer(960);
  const auto send = [&](std::vector<uint8_t> message) { postFromKeyboard(*synth, message, 0); };
  const auto level = [&] {
    for (int i = 0; i < 30; ++i) synth->render(buffer);
    return peak(buffer);
  };
  EXPECT_EQ(level(), 0);
  // The channel and the program that the keyboard is set to do not matter.
  for (const auto& message : {std::vector<uint8_t>{0xC5, 9}, {0xB5, 0, 3}, {0xF0, 1, 0xF7}, {0x95, 60, 100}})
    send(message);
  EXPECT_GT(level(), 0.01);
  send({0x85, 60, 0});
  EXPECT_EQ(level(), 0);
}

TEST(Audition, SoundsForASecondWhatTheSettingsWant) {
  SoundLab lab;
  lab.addSine().trigger.set(P::triggerLowKey, 72);
  EXPECT_EQ(audio::auditionKey(*lab.instrument), 72);
  Settings settings;
  settings.aio.playCollOnClick = 0;
  const auto framesHeard = [&](const Item& item) {
    HandDevice* device = nullptr;
    audio::AudioOutput output({}, [&](const platform::AudioRequest&) {
      auto made = std::make_unique<HandDevice>(platform::AudioFormat{48000, 2, platform::AudioCoding::float32, 4}, 480);
      device = made.get();
      return made;
    });
    audio::Audition audition(output, settings);
    EXPECT_TRUE(audition.selected(item));
    std::size_t frames = 0;
    for (int turn = 0; device && turn < 150; ++turn) {
      device->turn();
      frames += device->sounding;
    }
    return frames;
  };
  EXPECT_EQ(framesHeard(*lab.instrument), 0u);
  EXPECT_EQ(framesHeard(*lab.collection.waveforms()[0]), 48000u);
  settings.aio.playCollOnClick = 1;
  EXPECT_EQ(framesHeard(*lab.instrument), 48000u);
}

using Messages = std::vector<std::vector<uint8_t>>;

struct RecordingPort final : platform::MidiOutput {
  bool send(std::span<const uint8_t> message) override {
    sent.emplace_back(message.begin(), message.end());
    return true;
  }
  Messages sent;
};

TEST(SongSender, SendsAtItsTimesAndPutsExclusiveMessagesTogether) {
  RecordingPort port;
  // 0.5 s a quarter; an exclusive message in two parts, and a program change.
  const auto song = songOf(0, 480,
                           {trackBytes({0, 0xF0, 2, 0x43, 0x12, 0x83, 0x60, 0xF7, 2, 0x07, 0xF7, 0, 0xC3, 5,  //
                                        0x83, 0x60, 0xFF, 0x2F, 0})});
  audio::SongSender sender(port, *song);
  EXPECT_DOUBLE_EQ(sender.nextTime().value(), 0.5);
  ASSERT_TRUE(sender.sendNext() && sender.sendNext());
  EXPECT_FALSE(sender.nextTime());
  EXPECT_EQ(port.sent, (Messages{{0xF0, 0x43, 0x12, 0x07, 0xF7}, {0xC3, 5}}));
}

TEST(SongSender, BeginsInTheMiddleWithTheSoundThatWasSetUpUntilThere) {
  // Bank 1, program 5, volume 20 and 90, bank 2 for a later program, a note; a quarter later another and its end.
  const auto song =
      songOf(0, 480, {trackBytes({0,    0xB0, 0,    1,  0,   0xC0, 5,    0,    0xB0, 7, 20, 0,    0xB0, 7,
                                  90,   0,    0xB0, 0,  2,   0,    0x90, 60,   100,  //
                                  0x83, 0x60, 0x90, 64, 100, 0x83, 0x60, 0x80, 64,   0, 0,  0xFF, 0x2F, 0})});
  RecordingPort port;
  audio::SongSender sender(port, *song, 0.25);
  std::vector<double> times;
  for (; const auto due = sender.nextTime(); sender.sendNext()) times.push_back(*due);
  EXPECT_EQ(times, (std::vector<double>{0, 0, 0, 0, 0.25, 0.75}));
  EXPECT_EQ(port.sent,
            (Messages{{0xB0, 0, 1}, {0xC0, 5}, {0xB0, 7, 90}, {0xB0, 0, 2}, {0x90, 64, 100}, {0x80, 64, 0}}));
}

}  // namespace
}  // namespace tervo::test
