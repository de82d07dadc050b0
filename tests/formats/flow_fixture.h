#pragma once
// What tests of the open and save flows share: a folder of files, a host that notes what it was told and answers what
// it was told to, and contexts made of both.

#include <gtest/gtest.h>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/open_flow.h"
#include "formats/save_flow.h"
#include "tests/platform/test_folder.h"

namespace tervo::test {

class TestHost final : public Host {
 public:
  void showStatus(TextView text) override { statuses.emplace_back(text); }
  bool progress(double) override { return ++steps <= stepsAllowed; }
  std::size_t ask(const Question& question) override {
    ++questions;
    return answer.value_or(question.safeButton);
  }
  std::vector<std::unique_ptr<Waveform>> render(const Item& item) override {
    return rendered.empty() ? Host::render(item) : std::move(rendered);
  }

  std::vector<Text> statuses;
  int steps = 0, stepsAllowed = 1 << 30;
  int questions = 0;
  std::optional<std::size_t> answer;
  std::vector<std::unique_ptr<Waveform>> rendered;
};

class FlowTest : public testing::Test {
 protected:
  ~FlowTest() override { std::filesystem::current_path(std::filesystem::temp_directory_path()); }

  /// What codecs make of a file, untouched.
  OpenContext opening() {
    return {.host = host, .report = report, .settings = settings, .normalisation = Normalisation::skipped};
  }
  SaveContext saving(SaveOptions options = {}) {
    return {.host = host, .report = report, .settings = settings, .options = options};
  }
  bool open(Collection& collection, TextView name, RawFallback fallback = RawFallback::refused) {
    return OpenFile(collection, folder.text(name), fallback, opening());
  }
  bool reported(TextView what) const {
    for (const ReportEntry& entry : report.entries())
      if (entry.what == what) return true;
    return false;
  }

  TestFolder folder;
  TestHost host;
  ConversionReport report;
  Settings settings;
};

inline std::unique_ptr<Waveform> waveformNamed(TextView name, std::vector<float> frames, int channels = 1,
                                               double rate = 44100) {
  auto waveform = std::make_unique<Waveform>();
  waveform->name = name;
  waveform->samples = makeResident(std::move(frames), channels);
  waveform->sampleRate = rate;
  waveform->setStoredFormat(SampleFormat::pcm16, 0);
  return waveform;
}

inline std::vector<float> framesOf(const Waveform& waveform) {
  const SampleRef samples = makeResident(waveform.samples);
  if (!samples) return {};
  return {samples->resident().begin(), samples->resident().end()};
}

}  // namespace tervo::test
