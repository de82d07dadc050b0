#pragma once
// Waveforms in a document, operations run on them by name, and sounds to run them on.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "base/last_error.h"
#include "tests/core/normalise_support.h"
#include "tools/operation.h"

namespace tervo::test {

using fixup_test::framesOf;
using fixup_test::loopMarker;
using fixup_test::ramp;

/// Stops when it has been asked so often.
struct CancellingHost final : Host {
  int left;
  std::vector<Text> texts = {};

  explicit CancellingHost(int asked = std::numeric_limits<int>::max()) : left(asked) {}
  bool progress(double) override { return left-- > 0; }
  void showStatus(TextView text) override { texts.emplace_back(text); }
};

using OptionTexts = std::vector<std::pair<TextView, TextView>>;

class WaveOperations : public testing::Test {
 protected:
  Waveform& wave(SampleRef samples, std::vector<Marker> markers = {}) {
    return document.wave(u"W", std::move(samples), std::move(markers));
  }

  /// Runs an operation on all waveforms of the document.
  Outcome run(TextView name, const OptionTexts& options = {}, DocumentHistory* history = nullptr) {
    const Operation* operation = findOperation(name);
    if (!operation) return ADD_FAILURE() << toUtf8(name), Outcome::failed;
    OptionValues values(operation->options);
    for (const auto& [option, text] : options) EXPECT_TRUE(values.set(option, text)) << toUtf8(LastErrorText());
    std::vector<Item*> items;
    for (const auto& each : document.collection.waveforms()) items.push_back(each.get());
    setLastErrorText({});
    return RunOperation(*operation, items, values, {host, document.report}, history);
  }

  /// The frames that an operation makes of one waveform with these frames.
  std::vector<float> result(TextView name, const OptionTexts& options, SampleRef samples) {
    document.collection.clear();
    wave(std::move(samples));
    EXPECT_NE(run(name, options), Outcome::failed) << toUtf8(LastErrorText());
    return framesOf(document.collection.waveforms().front()->samples);
  }

  fixup_test::Document document;
  CancellingHost host;
};

inline SampleRef sine(double hertz, double level, int64_t frames, double rate = 44100) {
  std::vector<float> samples;
  for (int64_t i = 0; i < frames; ++i)
    samples.push_back(
        static_cast<float>(level * std::sin(2 * std::numbers::pi * hertz * static_cast<double>(i) / rate)));
  return makeResident(std::move(samples), 1);
}

inline float peak(const std::vector<float>& frames) {
  float highest = 0;
  for (const float each : frames) highest = std::max(highest, std::abs(each));
  return highest;
}

}  // namespace tervo::test
