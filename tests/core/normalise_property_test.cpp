// Generated documents under every combination of the options: what they sound like stays, and a second pass finds
// nothing to do.

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <map>
#include <random>

#include "core/parameter_table.h"
#include "tests/core/normalise_support.h"

namespace tervo {
namespace {

using namespace fixup_test;

uint8_t Settings::Load::*const options[] = {
    &Settings::Load::autoSplitStereo,    &Settings::Load::autoMergeStereo,      &Settings::Load::autoCompactLayers,
    &Settings::Load::autoRemoveDupWaves, &Settings::Load::autoMoveArticulation, &Settings::Load::autoMoveTriggerParams,
    &Settings::Load::autoAppend32,       &Settings::Load::autoBid2Fwd,          &Settings::Load::autoSortColl,
    &Settings::Load::autoSortWaves,      &Settings::Load::ensureUniqueNames};

class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  void fill(Collection& loaded, Collection& there) {
    for (int i = number(3, 6); i > 0; --i) addWaveform(loaded);
    for (int i = number(0, 2); i > 0; --i) addPair(loaded);
    for (const auto& waveform : loaded.waveforms()) {
      if (number(0, 3) == 0) copySound(*waveform, there.add(std::make_unique<Waveform>()));
    }
    for (int i = number(1, 2); i > 0; --i) addInstrument(loaded);
  }

 private:
  int number(int low, int high) { return std::uniform_int_distribution(low, high)(random_); }
  double real(int low, int high) { return static_cast<double>(number(low, high)); }

  SampleRef samples(int frames, int channels) {
    std::vector<float> all(static_cast<std::size_t>(frames * channels));
    for (float& sample : all) sample = static_cast<float>(number(-32768, 32767)) / 32768;
    return makeResident(std::move(all), channels);
  }

  void addWaveform(Collection& loaded) {
    static const TextView names[] = {u"A", u"A", u"a", u"B 2", u"B 10", u"A-L", u"A-R", u""};
    Waveform& waveform = loaded.add(std::make_unique<Waveform>());
    waveform.name = names[static_cast<std::size_t>(number(0, 7))];
    const int frames = number(20, 60);
    waveform.samples = samples(frames, number(1, 2));
    for (int i = number(0, 3); i > 0; --i) addMarker(waveform, frames);
  }

  void addMarker(Waveform& waveform, int frames) {
    const double start = real(0, 5);
    Marker marker{.start = start, .end = real(10, frames + (number(0, 5) == 0 ? 9 : 0))};
    marker.type = static_cast<MarkerType>(number(0, 2));
    marker.loopType = static_cast<LoopType>(number(0, 3));
    marker.loopCount = number(0, 1) ? loopForever : loopUntilRelease;
    if (marker.type == MarkerType::position && number(0, 3) == 0) marker.start = frames;
    waveform.markers.push_back(marker);
  }

  void addPair(Collection& loaded) {
    addWaveform(loaded);
    Waveform& left = *loaded.waveforms().back();
    left.name = u"Pair " + fromUtf8(std::to_string(number(1, 2))) + u"-L";
    left.samples = samples(static_cast<int>(left.frames()), 1);
    Waveform& right = loaded.add(std::make_unique<Waveform>());
    copySound(left, right);
    right.name.back() = u'R';
    right.samples = samples(static_cast<int>(left.frames()), 1);
    Layer& layer = loaded.add(std::make_unique<Instrument>()).add(std::make_unique<Layer>());
    for (int i = number(0, 2); i > 0; --i) {
      Region& region = addRegion(layer, left);
      region.articulation.set(ParameterId::panPosition, -1);
      Region& twin = Document::region(layer, right, number(0, 3) ? 1.0f : 0.5f);
      twin.trigger = region.trigger;
    }
  }

  Region& addRegion(Layer& layer, const Waveform& waveform) {
    Region& region = Document::region(layer, waveform);
    const int low = number(0, 3) * 16;
    region.trigger.set(ParameterId::triggerLowKey, static_cast<float>(low));
    region.trigger.set(ParameterId::triggerHighKey, static_cast<float>(low + number(0, 20)));
    if (number(0, 1)) region.trigger.set(ParameterId::triggerDelay, static_cast<float>(number(0, 1)));
    if (number(0, 1)) region.trigger.set(ParameterId::loopSection, static_cast<float>(number(-2, 4)));
    if (number(0, 2) == 0) region.trigger.set(ParameterId::playSection, static_cast<float>(number(0, 4)));
    if (number(0, 2) == 0) region.trigger.set(ParameterId::rootKeyOverride, static_cast<float>(number(60, 61)));
    if (number(0, 1)) region.articulation.set(ParameterId::filterCutoff, static_cast<float>(number(1, 2) * 1000));
    return region;
  }

  void addInstrument(Collection& loaded) {
    Instrument& instrument = loaded.add(std::make_unique<Instrument>());
    instrument.name = u"same";
    instrument.program = static_cast<uint8_t>(number(0, 3));
    const auto waveforms = loaded.waveforms();
    for (int layers = number(0, 4); layers > 0; --layers) {
      Layer& layer = instrument.add(std::make_unique<Layer>());
      if (number(0, 1)) layer.articulation.set(ParameterId::filterCutoff, static_cast<float>(number(1, 2) * 1000));
      if (number(0, 1)) layer.trigger.set(ParameterId::triggerDelay, static_cast<float>(number(0, 1)));
      for (int regions = number(0, 3); regions > 0; --regions) {
        const Waveform& waveform =
            *waveforms[static_cast<std::size_t>(number(0, static_cast<int>(waveforms.size()) - 1))];
        Region& region = addRegion(layer, waveform);
        if (number(0, 9) == 0) region.waveform = noItem;
      }
    }
  }

  std::mt19937 random_;
};

/// What all voices with the same parameters sound like together, by those parameters.
using Sound = std::map<std::string, std::vector<double>>;

std::string parametersOf(const Region& region, const Waveform* waveform) {
  std::string text = fmt::format("{} ", static_cast<uint32_t>(containingInstrument(region.id())->id()));
  for (int row = 0; row < indexOf(ParameterId::phaseMaster); ++row) {
    const auto id = static_cast<ParameterId>(row);
    if (!(isArticulation(id) || isTrigger(id) || id == ParameterId::phaseGroup) || id == ParameterId::panPosition)
      continue;
    const float value = effectiveValue(region, id);
    if (value != rowOf(id).defaultValue) text += fmt::format("{}={} ", row, value);
  }
  return text + (waveform ? fmt::format("root {}", rootKeyOf(region)) : "missing");
}

void addVoice(Sound& sound, const Region& region, bool appended) {
  constexpr int length = 250;
  const Waveform* waveform = findItem<Waveform>(region.waveform);
  std::vector<double>& sum = sound[parametersOf(region, waveform)];
  sum.resize(2 * length + 1);
  if (!waveform) {
    ++sum.back();
    return;
  }
  const auto loop = playedLoop(region);
  // Frames behind the end are heard where no loop is played.
  const int count = appended && !loop ? 15 : length;
  const double pan = effectiveValue(region, ParameterId::panPosition);
  const double gains[] = {std::min(1.0, 1 - pan), std::min(1.0, 1 + pan)};
  for (int side = 0; side < 2; ++side) {
    const auto frames = heard(*waveform, playedFrames(region), loop, waveform->channels() == 2 ? side : 0, count);
    for (std::size_t i = 0; i < frames.size(); ++i)
      sum[2 * i + static_cast<std::size_t>(side)] += gains[side] * double{frames[i]};
  }
}

Sound soundOf(const Collection& collection, bool appended) {
  Sound sound;
  for (const auto& instrument : collection.instruments()) {
    for (const auto& layer : instrument->layers()) {
      for (const auto& region : layer->regions()) addVoice(sound, *region, appended);
    }
  }
  return sound;
}

/// The first frames of every channel of every waveform; no loop ends among them.
std::vector<std::vector<float>> beginningsOf(const Collection& collection) {
  std::vector<std::vector<float>> result;
  for (const auto& waveform : collection.waveforms()) {
    for (int channel = 0; channel < waveform->channels(); ++channel)
      result.push_back(heard(*waveform, {0, static_cast<double>(waveform->frames())}, {}, channel, 8));
  }
  return result;
}

std::string textOf(const ParameterSet& set) {
  std::string text;
  for (const auto& [row, value] : set.entries()) text += fmt::format(" {}={}", indexOf(row), value);
  return text + "\n";
}

/// Everything that the pass may touch.
std::string textOf(const Collection& collection) {
  std::string text;
  for (const auto& waveform : collection.waveforms()) {
    text +=
        fmt::format("{} {} {}:", static_cast<uint32_t>(waveform->id()), toUtf8(waveform->name), waveform->channels());
    for (const float sample : framesOf(waveform->samples)) text += fmt::format(" {}", sample);
    for (const Marker& marker : waveform->markers)
      text += fmt::format("\n {} {} {} {}", marker.start, marker.end, static_cast<int>(marker.type),
                          static_cast<int>(marker.loopType));
  }
  for (const auto& instrument : collection.instruments()) {
    text += fmt::format("\n{} {}", static_cast<uint32_t>(instrument->id()), toUtf8(instrument->name)) +
            textOf(instrument->articulation);
    for (const auto& layer : instrument->layers()) {
      text += "layer" + textOf(layer->articulation) + textOf(layer->trigger);
      for (const auto& region : layer->regions())
        text += fmt::format("{} {}", static_cast<uint32_t>(region->id()), static_cast<uint32_t>(region->waveform)) +
                textOf(region->articulation) + textOf(region->trigger);
    }
  }
  return text;
}

void expectNothingDangles(const Collection& collection) {
  for (const auto& instrument : collection.instruments()) {
    for (const auto& layer : instrument->layers()) {
      for (const auto& region : layer->regions()) {
        const Waveform* waveform = findItem<Waveform>(region->waveform);
        if (!waveform) continue;
        const float play = effectiveValue(*region, ParameterId::playSection);
        const float loop = effectiveValue(*region, ParameterId::loopSection);
        const auto markers = static_cast<float>(waveform->markers.size());
        ASSERT_TRUE(play >= 0 && play <= markers && loop >= -1 && loop <= markers);
        if (play > 0) {
          ASSERT_LT(waveform->markers[static_cast<std::size_t>(play) - 1].start,
                    static_cast<double>(waveform->frames()));
        }
        if (loop > 0) {
          ASSERT_EQ(waveform->markers[static_cast<std::size_t>(loop) - 1].type, MarkerType::loop);
        }
      }
    }
  }
}

class EveryOption : public testing::TestWithParam<unsigned> {};

/// The first thing that is different; empty when nothing is.
std::string difference(const Sound& before, const Sound& after) {
  for (const auto& [key, sum] : before) {
    const auto found = after.find(key);
    if (found == after.end()) return "lost: " + key;
    const auto place = std::mismatch(sum.begin(), sum.end(), found->second.begin()).first - sum.begin();
    if (place < static_cast<std::ptrdiff_t>(sum.size())) return fmt::format("{} differs at {}", key, place);
  }
  return after.size() > before.size() ? "there are new sounds" : "";
}

TEST_P(EveryOption, KeepsTheSoundAndIsIdempotent) {
  for (unsigned round = 0; round < 8; ++round) {
    const unsigned combination = GetParam() * 8 + round;
    SCOPED_TRACE(fmt::format("combination {}", combination));
    Document document;
    Collection there;
    Generator(combination).fill(document.collection, there);
    const Collection* mergedInto = combination % 3 != 0 ? &there : nullptr;

    // The repairs alone decide what a document means whose selectors dangle.
    ASSERT_TRUE(document.fixUp());
    for (std::size_t i = 0; i < std::size(options); ++i)
      document.settings.load.*options[i] = static_cast<uint8_t>((combination >> i) & 1);
    const bool appended = document.settings.load.autoAppend32 != 0;
    const Sound before = soundOf(document.collection, appended);
    const auto samplesBefore = beginningsOf(document.collection);
    const std::string thereBefore = textOf(there);

    ASSERT_TRUE(document.fixUp(mergedInto));
    ASSERT_EQ(difference(before, soundOf(document.collection, appended)), "");
    auto samplesAfter = beginningsOf(document.collection);
    for (auto& each : beginningsOf(there)) samplesAfter.push_back(std::move(each));
    for (const auto& each : samplesBefore) ASSERT_THAT(samplesAfter, testing::Contains(each));
    ASSERT_NO_FATAL_FAILURE(expectNothingDangles(document.collection));
    ASSERT_EQ(textOf(there), thereBefore);

    const std::string once = textOf(document.collection);
    document.report = {};
    ASSERT_TRUE(document.fixUp(mergedInto));
    ASSERT_EQ(textOf(document.collection), once);
    ASSERT_TRUE(document.report.entries().empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Combinations, EveryOption, testing::Range(0u, 256u));

}  // namespace
}  // namespace tervo
