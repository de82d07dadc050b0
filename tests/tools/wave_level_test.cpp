// Operations that change how loud a waveform is.

#include <numbers>
#include <random>

#include "core/normalise/sample_views.h"
#include "tests/tools/wave_fixture.h"

namespace tervo {
namespace {

using namespace test;

TEST_F(WaveOperations, GainIsInDecibels) {
  const auto frames = result(u"gain", {{u"by", u"-6.020599913279624"}}, makeResident({1, -1, 0.5f, 0}, 2));
  EXPECT_EQ(frames, (std::vector<float>{0.5f, -0.5f, 0.25f, 0}));
  result(u"gain", {{u"by", u"12"}}, makeResident({0.5f}, 1));
  ASSERT_EQ(document.report.entries().size(), 3u);  // two changes of level, and one that goes beyond full scale
  EXPECT_EQ(document.report.entries()[2].from, u"+5.98 dB");
}

TEST_F(WaveOperations, NormalisingReachesTheLevel) {
  for (const int64_t frames : {1, 31, 100000}) {
    std::vector<float> samples(static_cast<std::size_t>(frames), 0.01f);
    samples.back() = -0.3f;
    samples.front() = frames > 1 ? std::numeric_limits<float>::infinity() : -0.3f;
    const auto loud = result(u"normalise", {{u"to", u"-20"}}, makeResident(std::move(samples), 1));
    EXPECT_FLOAT_EQ(loud.back(), -0.1f);
  }
  const std::vector<float> denormal = {0, 1e-44f};
  EXPECT_EQ(result(u"normalise", {}, makeResident(denormal, 1)), denormal);
}

// EBU Tech 3341: a 1 kHz sine in both channels of stereo at -23 dBFS has -23 LUFS, so one channel alone has 3 less.
TEST_F(WaveOperations, LoudnessIsThatOfTheStandard) {
  const auto level = [&](const std::vector<float>& frames) { return 20 * std::log10(peak(frames)); };
  const SampleRef quiet = sine(1000, 0.01, 48000 * 5, 48000);
  for (const int channels : {1, 2}) {
    document.collection.clear();
    Waveform& sound = wave(withChannels(quiet, channels));
    sound.sampleRate = 48000;
    ASSERT_EQ(run(u"normalise-loudness"), Outcome::changed);
    EXPECT_NEAR(level(framesOf(sound.samples)), channels == 2 ? -23 : -20, 0.1);
  }
  document.report = {};
  EXPECT_NEAR(level(result(u"normalise-loudness", {{u"to", u"0"}, {u"peak", u"-3"}}, sine(997, 0.1, 99999))), -3, 0.1);
  EXPECT_TRUE(document.report.lostSomething());
  result(u"normalise-loudness", {}, sine(997, 0.1, 100));
  EXPECT_EQ(document.report.entries().back().to, u"too short or too soft to be measured");
}

TEST_F(WaveOperations, DcOffsetGoesAndTheRestStays) {
  std::vector<float> samples;
  for (int i = 0; i < 50000; ++i) samples.insert(samples.end(), {i % 2 ? 0.75f : 0.25f, i % 2 ? -0.25f : 0.25f});
  const auto frames = result(u"remove-dc-offset", {}, makeResident(std::move(samples), 2));
  EXPECT_EQ(std::vector(frames.end() - 4, frames.end()), (std::vector<float>{-0.25f, 0.25f, 0.25f, -0.25f}));
  EXPECT_EQ(run(u"remove-dc-offset"), Outcome::nothingToDo);
  EXPECT_EQ(result(u"remove-dc-offset", {}, makeResident(std::vector(33, 0.5f), 1)), std::vector(33, 0.0f));
}

double fadeGain(TextView curve, double x) {
  if (curve == u"linear") return x;
  if (curve == u"equal-power") return std::sin(std::numbers::pi / 2 * x);
  if (curve == u"s-curve") return (1 - std::cos(std::numbers::pi * x)) / 2;
  if (curve == u"exponential") return (std::pow(1025, x) - 1) / 1024;
  return 1 - (std::pow(1025, 1 - x) - 1) / 1024;
}

TEST_F(WaveOperations, FadesFollowTheirCurves) {
  for (const TextView curve : {u"linear", u"equal-power", u"s-curve", u"exponential", u"logarithmic"}) {
    for (const int64_t length : {1, 255, 256, 257, 5000}) {
      const auto text = fromUtf8(std::to_string(length));
      const OptionTexts options = {{u"length", text}, {u"unit", u"frames"}, {u"curve", curve}};
      const auto ones = makeResident(std::vector(20000, 1.0f), 2);
      auto in = result(u"fade-in", options, ones);
      EXPECT_EQ(in[0], 0);
      EXPECT_EQ(in[static_cast<std::size_t>(2 * length)], 1);
      for (int64_t i = 0; i < length; ++i) {
        const double x = static_cast<double>(i) / static_cast<double>(length);
        ASSERT_NEAR(in[static_cast<std::size_t>(2 * i + 1)], fadeGain(curve, x), 2e-7) << toUtf8(curve) << i;
      }
      auto out = result(u"fade-out", options, ones);
      std::reverse(out.begin(), out.end());
      EXPECT_EQ(in, out) << toUtf8(curve) << length;
      // The same wherever reading begins.
      const auto faded = document.collection.waveforms()[0]->samples;
      const auto tail = framesOf(faded, 5077);
      EXPECT_TRUE(std::equal(tail.rbegin(), tail.rend(), out.begin()));
    }
  }
}

TEST_F(WaveOperations, FramesInMemoryAndFramesThatAreReadBecomeTheSame) {
  const struct {
    TextView name;
    OptionTexts options;
  } cases[] = {{u"gain", {{u"by", u"-3"}}},
               {u"fade-in", {{u"length", u"41234"}, {u"unit", u"frames"}}},
               {u"fade-out", {{u"length", u"41234"}, {u"unit", u"frames"}, {u"curve", u"exponential"}}},
               {u"invert-phase", {{u"channel", u"right"}}},
               {u"remove-dc-offset", {}},
               {u"reduce-bits", {{u"dither", u"shaped"}}},
               {u"change-channels", {{u"to", u"mono"}}},
               {u"change-channels", {{u"to", u"left"}}},
               {u"change-channels", {{u"to", u"difference"}}}};
  const SampleRef inMemory = ramp(70001, 2);
  const SampleRef read = fixup::swapped(fixup::swapped(inMemory));
  for (const auto& each : cases) {
    const auto expected = result(each.name, each.options, inMemory);
    result(each.name, each.options, read);
    EXPECT_EQ(framesOf(document.collection.waveforms()[0]->samples, 0, (1 << 18) + 1), expected) << toUtf8(each.name);
  }
}

TEST_F(WaveOperations, DitherIsBoundedAndFreeOfAMean) {
  std::mt19937 random(1);
  std::uniform_real_distribution<float> uniform(-0.9f, 0.9f);
  std::vector<float> samples(60000);
  for (float& each : samples) each = uniform(random);
  const SampleRef source = makeResident(samples, 2);
  const struct {
    TextView name;
    double most;  ///< error in steps
    double power;
  } cases[] = {
      {u"none", 0.5, 1.0 / 12}, {u"rectangular", 1, 1.0 / 6}, {u"triangular", 1.5, 0.25}, {u"shaped", 14, 4.14}};
  for (const auto& each : cases) {
    const auto coarse = result(u"reduce-bits", {{u"bits", u"8"}, {u"dither", each.name}}, source);
    double sum = 0, power = 0, most = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
      EXPECT_EQ(coarse[i] * 128, std::floor(coarse[i] * 128));
      const double error = 128.0 * (static_cast<double>(coarse[i]) - static_cast<double>(samples[i]));
      sum += error;
      power += error * error;
      most = std::max(most, std::abs(error));
    }
    EXPECT_LE(most, each.most) << toUtf8(each.name);
    EXPECT_NEAR(sum / 60000, 0, 0.01) << toUtf8(each.name);
    EXPECT_NEAR(power / 60000, each.power, 0.03 * each.power) << toUtf8(each.name);
    const auto tail = framesOf(document.collection.waveforms()[0]->samples, 12345, 1000);
    EXPECT_TRUE(std::equal(tail.begin(), tail.end(), coarse.begin() + 2 * 12345)) << toUtf8(each.name);
  }
  EXPECT_EQ(result(u"reduce-bits", {{u"bits", u"1"}, {u"dither", u"none"}}, makeResident({2, -2, NAN, 0.2f}, 1)),
            (std::vector<float>{0, -1, 0, 0}));
}

// What dither is for: a sound softer than one step survives, and shaped noise keeps away from low frequencies.
TEST_F(WaveOperations, DitherKeepsWhatIsSofterThanAStep) {
  constexpr int64_t length = 1 << 16;
  const auto toneAt = [](const std::vector<float>& frames, double hertz) {
    double cosine = 0, sum = 0;
    for (std::size_t i = 0; i < frames.size(); ++i) {
      const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / 44100;
      sum += static_cast<double>(frames[i]) * std::sin(angle);
      cosine += static_cast<double>(frames[i]) * std::cos(angle);
    }
    return std::hypot(sum, cosine) * 2 / static_cast<double>(frames.size());
  };
  const SampleRef soft = sine(500, 0.3 / 128, length);
  EXPECT_EQ(peak(result(u"reduce-bits", {{u"bits", u"8"}, {u"dither", u"none"}}, soft)), 0);
  const auto flat = result(u"reduce-bits", {{u"bits", u"8"}}, soft);
  const auto shaped = result(u"reduce-bits", {{u"bits", u"8"}, {u"dither", u"shaped"}}, soft);
  for (const auto& frames : {flat, shaped}) EXPECT_NEAR(toneAt(frames, 500) * 128, 0.3, 0.02);
  double flatNoise = 0, shapedNoise = 0;
  for (double hertz = 2000; hertz < 5000; hertz += 60) {
    flatNoise += std::pow(toneAt(flat, hertz), 2);
    shapedNoise += std::pow(toneAt(shaped, hertz), 2);
  }
  EXPECT_LT(shapedNoise, flatNoise / 8);
}

}  // namespace
}  // namespace tervo
