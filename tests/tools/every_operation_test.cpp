// Every operation of the table on sounds that have next to nothing in them, or too much of it.

#include <fmt/format.h>

#include <algorithm>

#include "tests/tools/wave_fixture.h"

namespace tervo {
namespace {

using namespace test;

struct Shape {
  const char* name;
  int64_t frames;
  int channels;
  float (*sample)(int64_t frame, int channel);
};

// clang-format off
constexpr Shape shapes[] = {
    {"nothing",         0,    1, [](int64_t, int) { return 0.0f; }},
    {"1 frame",         1,    1, [](int64_t, int) { return 0.5f; }},
    {"31 frames",       31,   1, [](int64_t i, int) { return i % 4 < 2 ? 0.5f : -0.25f; }},
    {"32 frames",       32,   2, [](int64_t i, int) { return i % 4 < 2 ? 0.5f : -0.25f; }},
    {"33 frames",       33,   1, [](int64_t i, int) { return i % 4 < 2 ? 0.5f : -0.25f; }},
    {"silence",         2000, 2, [](int64_t, int) { return 0.0f; }},
    {"DC",              2000, 1, [](int64_t, int) { return 0.75f; }},
    {"square",          4000, 1, [](int64_t i, int) { return i / 50 % 2 == 0 ? 1.0f : -1.0f; }},
    {"opposite phases", 4000, 2, [](int64_t i, int c) { return (c == 0 ? 0.5f : -0.5f) * std::sin(static_cast<float>(i) / 16); }},
};
// clang-format on

SampleRef samplesOf(const Shape& shape) {
  std::vector<float> samples;
  for (int64_t i = 0; i < shape.frames; ++i)
    for (int c = 0; c < shape.channels; ++c) samples.push_back(shape.sample(i, c));
  return makeResident(std::move(samples), shape.channels);
}

std::vector<Marker> markersFor(double frames) {
  if (frames < 4) return {};
  return {loopMarker(frames / 4, frames, LoopType::alternating),
          loopMarker(0, frames / 2, LoopType::forward),
          {.type = MarkerType::section, .start = 1, .end = frames - 1},
          {.type = MarkerType::position, .start = frames - 1, .end = frames}};
}

bool mayChangeLength(TextView operation) {
  constexpr TextView those[] = {u"trim-silence",      u"crop",         u"cut",
                                u"resample",          u"tune-to-root", u"convert-loops",
                                u"append-after-loop", u"find-loop"};
  return std::find(std::begin(those), std::end(those), operation) != std::end(those);
}

enum class Extent { usual, lowest, highest };

OptionTexts optionsAt(const Operation& operation, Extent extent, std::vector<Text>& texts) {
  OptionTexts options;
  texts.reserve(operation.options.size());
  for (const OptionInfo& option : operation.options) {
    if (extent == Extent::usual) break;
    const bool isLow = extent == Extent::lowest;
    if (option.choices.empty())
      texts.push_back(fromUtf8(fmt::format("{}", isLow ? option.lowest : std::min(option.highest, 50000.0))));
    else
      texts.emplace_back(isLow ? option.choices.front() : option.choices.back());
    options.emplace_back(option.name, texts.back());
  }
  return options;
}

void expectSound(const Waveform& waveform) {
  const auto all = framesOf(waveform.samples, 0, 1 << 12);
  EXPECT_EQ(static_cast<int64_t>(all.size()), waveform.frames() * waveform.channels());
  EXPECT_TRUE(std::all_of(all.begin(), all.end(), [](float sample) { return std::isfinite(sample); }));
  for (const Marker& marker : waveform.markers) {
    EXPECT_TRUE(marker.start >= 0 && marker.start <= marker.end);
    EXPECT_LE(marker.end, static_cast<double>(waveform.frames()));
  }
}

TEST_F(WaveOperations, AllLeaveASoundBehind) {
  for (const Operation& operation : Operations()) {
    if (operation.kind != ItemKind::waveform) continue;
    for (const Shape& shape : shapes) {
      for (const Extent extent : {Extent::usual, Extent::lowest, Extent::highest}) {
        SCOPED_TRACE(toUtf8(operation.name) + ", " + shape.name + ", options " +
                     std::to_string(static_cast<int>(extent)));
        document.collection.clear();
        Waveform& sound = wave(samplesOf(shape), markersFor(static_cast<double>(shape.frames)));
        std::vector<Text> texts;
        const Outcome outcome = run(operation.name, optionsAt(operation, extent, texts));
        EXPECT_NE(outcome == Outcome::failed, LastErrorText().empty());
        expectSound(sound);
        EXPECT_TRUE(sound.frames() == shape.frames || (outcome == Outcome::changed && mayChangeLength(operation.name)));
      }
    }
  }
}

/// At a low rate, so that it stays quick. What is made of frames is looked at near the end, where counting may go
/// wrong.
TEST_F(WaveOperations, AllTakeTenMinutes) {
  constexpr double rate = 4000, seconds = 600;
  const auto frames = static_cast<int64_t>(rate * seconds);
  const SampleRef source = sine(110.3, 0.5, frames, rate);
  for (const Operation& operation : Operations()) {
    if (operation.kind != ItemKind::waveform) continue;
    SCOPED_TRACE(toUtf8(operation.name));
    document.collection.clear();
    Waveform& sound = wave(source, markersFor(static_cast<double>(frames)));
    sound.sampleRate = rate;
    const bool finds = operation.name == u"find-loop", cuts = operation.name == u"cut";
    const OptionTexts all, those = {{u"skip-looped", u"off"}}, end = {{u"start", u"599"}};
    ASSERT_NE(run(operation.name, finds ? those : cuts ? end : all), Outcome::failed) << toUtf8(LastErrorText());
    EXPECT_TRUE(mayChangeLength(operation.name) || sound.frames() == frames);
    const auto last = framesOf(sound.samples, std::max<int64_t>(sound.frames() - 500, 0), 500);
    EXPECT_EQ(last.size(), static_cast<std::size_t>(std::min<int64_t>(sound.frames(), 500) * sound.channels()));
    EXPECT_TRUE(std::all_of(last.begin(), last.end(), [](float sample) { return std::abs(sample) < 2; }));
    for (const Marker& marker : sound.markers) EXPECT_LE(marker.end, static_cast<double>(sound.frames()));
    if (!finds) continue;
    const double periods = (sound.markers[0].end - sound.markers[0].start) * 110.3 / rate;
    EXPECT_NEAR(periods, std::round(periods), 0.02);
  }
}

}  // namespace
}  // namespace tervo
