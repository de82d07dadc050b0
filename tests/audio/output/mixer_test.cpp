#include <atomic>
#include <thread>

#include "audio/output/output_format.h"
#include "tests/audio/output/output_bench.h"

namespace tervo::test {
namespace {

using audio::Mixer;
using platform::AudioCoding;
using platform::AudioFormat;

TEST(Mixer, CodesWithClipping) {
  // Full scale is 2^(bits - 1); 16 bits round half up, 24 and 32 bits go down.
  const std::vector<float> stereo = {1.5f, -1.5f, 0.25f, -0.25f, 1.5f / 32768, -0.5f / 8388608};
  const struct {
    AudioFormat format;
    std::vector<uint8_t> bytes;
  } cases[] = {
      {{48000, 2, AudioCoding::pcm16, 2}, {0xFF, 0x7F, 0x00, 0x80, 0x00, 0x20, 0x00, 0xE0, 0x02, 0x00, 0x00, 0x00}},
      {{48000, 2, AudioCoding::pcm24, 3},
       {0xFF, 0xFF, 0x7F, 0x00, 0x00, 0x80, 0x00, 0x00, 0x20, 0x00, 0x00, 0xE0, 0x80, 0x01, 0x00, 0xFF, 0xFF, 0xFF}},
      {{48000, 2, AudioCoding::pcm32, 4},
       {0xFF, 0xFF, 0xFF, 0x7F, 0, 0, 0, 0x80, 0, 0, 0, 0x20, 0, 0, 0, 0xE0, 0, 0x80, 1, 0, 0x80, 0xFF, 0xFF, 0xFF}},
      // Mono is the mean of both sides.
      {{48000, 1, AudioCoding::pcm16, 2}, {0x00, 0x00, 0x00, 0x00, 0x01, 0x00}},
      // Beyond the front pair there is silence.
      {{48000, 3, AudioCoding::pcm16, 2},
       {0xFF, 0x7F, 0x00, 0x80, 0, 0, 0x00, 0x20, 0x00, 0xE0, 0, 0, 0x02, 0x00, 0x00, 0x00, 0, 0}},
  };
  for (const auto& [format, expected] : cases) {
    Mixer mixer(format, 3);
    FrameSource source(stereo);
    ASSERT_TRUE(mixer.attach(source));
    std::vector<uint8_t> bytes(expected.size(), 0xAA);
    EXPECT_EQ(mixer.fill(std::as_writable_bytes(std::span(bytes))), 3u);
    EXPECT_EQ(bytes, expected) << format.channels << " channels of " << format.bytesPerSample << " bytes";
  }
}

TEST(Mixer, AddsWhatIsAttachedAndSaysHowLongItSounds) {
  HandDevice device({48000, 2, AudioCoding::float32, 4}, 2);
  const auto mixer = std::make_shared<Mixer>(device.format(), device.bufferFrames());
  device.start(mixer);
  FrameSource shortOne({0.25f, 0.5f}), longOne({0.125f, 0, 0.125f, 0, 0.125f, 0});
  ASSERT_TRUE(mixer->attach(shortOne) && mixer->attach(longOne));
  EXPECT_EQ(device.turn(), (std::vector<float>{0.375f, 0.5f, 0.125f, 0}));
  EXPECT_EQ(device.sounding, 2u);
  mixer->detach(shortOne);
  EXPECT_EQ(device.turn(), (std::vector<float>{0.125f, 0, 0, 0}));
  EXPECT_EQ(device.sounding, 1u);
  mixer->detach(longOne);
  EXPECT_EQ(device.turn(), (std::vector<float>{0, 0, 0, 0}));
  EXPECT_EQ(device.sounding, 0u);
}

/// Notes it when it is asked for frames after it was taken off.
class Guarded final : public audio::AudioSource {
 public:
  std::size_t render(std::span<float> out) noexcept override {
    if (isGone) touchedLate = true;
    ++turns_;  // not atomic: the thread sanitizer sees whoever else touches it
    return out.size() / 2;
  }
  bool isFinished() const noexcept override { return false; }
  int turns() const { return turns_; }

  std::atomic<bool> isGone{false}, touchedLate{false};

 private:
  int turns_ = 0;
};

TEST(Mixer, SourcesComeAndGoWhileItPlays) {
  Mixer mixer({48000, 2, AudioCoding::float32, 4}, 64);
  std::atomic<bool> ending{false};
  std::atomic<int> fills{0};
  std::thread player([&] {
    std::vector<std::byte> buffer(64 * 8);
    for (; !ending; ++fills) mixer.fill(buffer);
  });
  int turns = 0;
  for (int round = 0; round < 300; ++round) {
    auto first = std::make_unique<Guarded>(), second = std::make_unique<Guarded>();
    ASSERT_TRUE(mixer.attach(*first) && mixer.attach(*second));
    // Two, because the first may have begun before both were there.
    for (const int before = fills; round % 4 == 0 && fills < before + 2;) std::this_thread::yield();
    for (auto* source : {&first, &second}) {
      mixer.detach(**source);
      (*source)->isGone = true;
      turns += (*source)->turns();
      EXPECT_FALSE((*source)->touchedLate);
      source->reset();
    }
  }
  ending = true;
  player.join();
  EXPECT_GT(turns, 0);
}

TEST(AudioOutput, SaysWhatIsWrong) {
  const auto nothing = [](const platform::AudioRequest&) { return std::unique_ptr<platform::AudioDevice>(); };
  audio::AudioOutput without(
      {}, [&](const auto& request) { return fail(u"There is no such audio device"), nothing(request); });
  EXPECT_FALSE(without.openFor(u"Could not open audio output device"));
  EXPECT_EQ(LastErrorText(), u"Could not open audio output device");
  EXPECT_EQ(without.cause(), u"There is no such audio device");
  EXPECT_EQ(without.state(), audio::AudioOutput::State::closed);

  const auto refusal = u"Could not enable audio device exclusive mode";
  audio::AudioOutput refused({}, [&](const auto& request) { return fail(refusal), nothing(request); });
  EXPECT_FALSE(refused.openFor(u"Couldn't open the audio device!"));
  EXPECT_EQ(LastErrorText(), refusal);
}

TEST(AudioOutput, ALostDeviceEndsClearlyAndIsOpenedAnew) {
  std::vector<HandDevice*> devices;
  audio::AudioOutput output({}, [&](const platform::AudioRequest&) {
    auto device = std::make_unique<HandDevice>(AudioFormat{48000, 2, AudioCoding::float32, 4}, 4);
    devices.push_back(device.get());
    return device;
  });
  ASSERT_TRUE(output.openFor(u"?"));
  const auto source = std::make_shared<FrameSource>(std::vector<float>(100));
  ASSERT_TRUE(output.attach(source) && output.isPlaying(*source));
  devices[0]->lost = true;
  EXPECT_EQ(output.state(), audio::AudioOutput::State::lost);
  ASSERT_TRUE(output.openFor(u"?"));
  EXPECT_EQ(devices.size(), 2u);
  EXPECT_EQ(output.state(), audio::AudioOutput::State::open);
  EXPECT_FALSE(output.isPlaying(*source));
  devices[1]->lost = true;
  EXPECT_FALSE(output.finish());
  EXPECT_EQ(LastErrorText(), u"The audio device was lost");
}

TEST(OutputFormat, CodesAndTexts) {
  const struct {
    uint8_t code;
    TextView text;
  } codings[] = {{16, u"16-bit PCM"}, {24, u"24-bit PCM"}, {32, u"32-bit PCM"}, {255, u"Floats"}, {7, u"24-bit PCM"}};
  for (const auto& [code, text] : codings) EXPECT_EQ(audio::nameOf(audio::codingOf(code)), text);
  EXPECT_EQ(audio::formatText({44100, 1, AudioCoding::pcm16, 2}), u"--> 44100 Hz - 1 channels - 16-bit PCM");
  EXPECT_EQ(audio::rateText(96000), u"96000 Hz");
  EXPECT_EQ(audio::channelsText(6), u"6 chs");
  EXPECT_EQ(audio::outputListTexts({}), std::vector<Text>{u"<no audio output>"});
  EXPECT_EQ(audio::midiListTexts({u"Keys"}), (std::vector<Text>{u"<none>", u"Keys"}));
  const platform::VolumeRange range = audio::volumeRangeOf(HandDevice({48000, 2, AudioCoding::float32, 4}, 1));
  EXPECT_EQ((std::vector{range.lowest, range.highest, range.step}), (std::vector{-48.0f, 0.0f, 0.5f}));
}

TEST(OutputFormat, OneChosenPartMakesTheFormatCustom) {
  Settings settings;
  EXPECT_EQ(audio::outputRequest(settings.aio).sampleRate, 0u);
  EXPECT_FALSE(audio::outputRequest(settings.aio).coding);
  settings.aio.audioOutFormat = 24;
  settings.aio.audioOutDev = u"Speaker";
  settings.aio.audioOutExclusive = 1;
  const platform::AudioRequest request = audio::outputRequest(settings.aio);
  EXPECT_EQ(request.sampleRate, 48000u);
  EXPECT_EQ(request.coding, AudioCoding::pcm24);
  EXPECT_EQ(request.device, u"Speaker");
  EXPECT_EQ(request.share, platform::AudioShare::exclusive);
}

}  // namespace
}  // namespace tervo::test
