#include "formats/instrument/sf2_sample_plan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "base/file_text.h"
#include "base/last_error.h"
#include "core/normalise/channel_names.h"
#include "core/normalise/sample_views.h"
#include "formats/damage_report.h"
#include "formats/instrument/sf2_region.h"
#include "formats/instrument/sf2_stereo_pairs.h"
#include "formats/number_text.h"
#include "formats/prepared_waveform.h"
#include "formats/writer_rules.h"

namespace tervo::sf2 {
namespace {

// The list that holds the samples has a 32-bit size, and as much again is kept for everything else.
constexpr uint64_t mostWords = 0x7F000000;
constexpr uint64_t mostRate = 0xFFFFFFFF;
constexpr std::size_t mostLink = 0xFFFF;

uint8_t pitchCorrection(const Waveform& waveform, ConversionReport& report) {
  const float cents = std::round(std::clamp(waveform.fineTune, -100.0f, 100.0f));
  if (cents != waveform.fineTune)
    report.approximated(waveform.name, u"fine tune in cents", numberText(waveform.fineTune), numberText(cents));
  return static_cast<uint8_t>(static_cast<int8_t>(cents));
}

void reportLosses(const Waveform& waveform, ConversionReport& report) {
  if (waveform.sampleRate != std::round(waveform.sampleRate))
    report.approximated(waveform.name, u"sample rate", numberText(waveform.sampleRate),
                        numberText(std::round(waveform.sampleRate)));
}

/// The bit rate that is asked for by a coding's name; 0 where none is.
double askedBitRate(const Waveform& waveform, const SaveOptions& options) {
  if (options.kbitPerSecond > 0) return options.kbitPerSecond;
  return bitRateOf(options.coding.value_or(SampleCoding{waveform.preferredFormat}));
}

/// Lossless where PCM is asked for by name, a bit rate where one is; else what the source holds, or Ogg Vorbis.
StreamChoice streamChoiceFor(const Waveform& waveform, const TargetFile& file) {
  const auto asked = requestedFormat(waveform, file.options);
  if (!asked) return {};
  if (*asked == SampleFormat::compressed)
    return {.mayCopy = false, .kbitPerSecond = askedBitRate(waveform, file.options)};
  const bool is24Bit = chooseSampleFormat(file, waveform) == SampleFormat::pcm24;
  return {.mayCopy = false, .losslessBits = is24Bit ? 24 : 16};
}

}  // namespace

void SamplePlan::setStream(std::size_t sample, uint32_t start, uint32_t end) {
  SampleRecord& record = samples_[sample].record;
  record.start = start;
  record.end = end;
  record.type = static_cast<uint16_t>(record.type | compressedSample);
}

RecordName recordName(TextView name, std::string_view ending, ConversionReport& report) {
  RecordName record{};
  const std::string bytes = toFileText(name);
  const std::string_view front = cutFileText(bytes, record.size() - ending.size());
  std::copy(front.begin(), front.end(), record.begin());
  std::copy(ending.begin(), ending.end(), record.begin() + static_cast<std::ptrdiff_t>(front.size()));
  if (front.size() < bytes.size()) report.approximated(name, u"name", name, fromFileText(nameIn(record)));
  return record;
}

const WaveformSamples* SamplePlan::of(ItemId waveform) const {
  const auto place = places_.find(waveform);
  return place == places_.end() ? nullptr : &place->second;
}

void SamplePlan::reportSilenced(ConversionReport& report) const {
  for (const auto& waveform : prepared_) tervo::reportSilenced(*waveform, report);
}

const Waveform* SamplePlan::prepare(const Waveform& waveform, TargetFile& file) {
  const bool asIs = !file.options.sampleRate && !file.options.channels;
  if (asIs || !waveform.holdsData()) return &waveform;
  auto prepared = preparedFor(file.row, waveform, file.options, file.report);
  if (!prepared) return nullptr;
  return prepared_.emplace_back(std::move(prepared)).get();
}

void SamplePlan::addChannel(const Waveform& waveform, SampleRef frames, uint16_t type, std::string_view ending,
                            TargetFile& file) {
  PlannedSample sample{std::move(frames), {}, {}, &waveform};
  const auto count = static_cast<uint32_t>(sample.frames ? sample.frames->frames() : 0);
  // Of streams the loop is counted from their first frame; where they stand is known when they have been written.
  const auto start = static_cast<uint32_t>(storage_ == SampleStorage::words ? words_ : 0);
  const FrameLoop loop = recordLoop(waveform);
  sample.record.name = recordName(waveform.name, ending, file.report);
  sample.record.start = start;
  sample.record.end = start + count;
  sample.record.loopStart = start + loop.start;
  sample.record.loopEnd = start + loop.end;
  sample.record.sampleRate =
      static_cast<uint32_t>(std::clamp(std::round(waveform.sampleRate), 1.0, static_cast<double>(mostRate)));
  sample.record.rootKey = waveform.rootKey;
  sample.record.pitchCorrection = static_cast<int8_t>(pitchCorrection(waveform, file.report));
  sample.record.type = type;
  words_ += uint64_t{count} + wordsBetweenSamples;
  samples_.push_back(std::move(sample));
}

bool SamplePlan::addWaveform(const Waveform& waveform, TargetFile& file) {
  const Waveform* written = prepare(waveform, file);
  if (!written) return false;
  const auto channels = static_cast<uint64_t>(std::max(written->channels(), 1));
  if (storage_ == SampleStorage::words &&
      words_ + channels * (static_cast<uint64_t>(written->frames()) + wordsBetweenSamples) > mostWords)
    return fail(u"Save failed - Too much data!\n\nThe samples of a SoundFont bank can take 4 GiB at most.");
  places_[waveform.id()] = {samples_.size(), channels, written};
  reportLosses(*written, file.report);
  if (written->holdsData() && storage_ == SampleStorage::words)
    is24Bit_ = is24Bit_ || chooseSampleFormat(file, *written) == SampleFormat::pcm24;
  const std::size_t first = samples_.size();
  if (channels == 1) {
    addChannel(*written, written->holdsData() ? written->samples : nullptr, monoSample, {}, file);
  } else {
    addChannel(*written, fixup::channelOf(written->samples, 0), leftSample, "-L", file);
    addChannel(*written, fixup::channelOf(written->samples, 1), rightSample, "-R", file);
    samples_[first].record.link = static_cast<uint16_t>(first + 1);
    samples_[first + 1].record.link = static_cast<uint16_t>(first);
  }
  if (storage_ == SampleStorage::words || !written->holdsData()) return true;
  const StreamChoice choice = streamChoiceFor(*written, file);
  for (std::size_t i = first; i < samples_.size(); ++i) samples_[i].stream = choice;
  return true;
}

int64_t SamplePlan::framesOf(std::size_t sample) const {
  return samples_[sample].frames ? samples_[sample].frames->frames() : 0;
}

void SamplePlan::link(std::size_t left, std::size_t right) {
  if (std::max(left, right) > mostLink) return;
  samples_[left].record.type = leftSample;
  samples_[left].record.link = static_cast<uint16_t>(right);
  samples_[right].record.type = rightSample;
  samples_[right].record.link = static_cast<uint16_t>(left);
}

void SamplePlan::linkNamesakes() {
  std::map<Text, std::size_t> leftChannels;
  const auto forEachHalf = [&](fixup::ChannelName::Side side, const auto& use) {
    for (std::size_t i = 0; i < samples_.size(); ++i) {
      const auto name = fixup::channelNameOf(samples_[i].waveform->name);
      if (samples_[i].record.type == monoSample && name && name->side == side) use(fixup::pairKey(*name), i);
    }
  };
  forEachHalf(fixup::ChannelName::Side::left,
              [&](const Text& key, std::size_t sample) { leftChannels.emplace(key, sample); });
  forEachHalf(fixup::ChannelName::Side::right, [&](const Text& key, std::size_t right) {
    const auto left = leftChannels.find(key);
    if (left == leftChannels.end()) return;
    const bool isPair = framesOf(left->second) == framesOf(right) &&
                        samples_[left->second].record.sampleRate == samples_[right].record.sampleRate;
    if (!isPair) return;
    link(left->second, right);
    leftChannels.erase(left);
  });
}

void SamplePlan::linkPairs(const std::vector<const Instrument*>& instruments) {
  for (const StereoPair& pair : pairsByUse(instruments)) {
    const WaveformSamples *left = of(pair.left), *right = of(pair.right);
    const bool areThere = left && right && left->count == 1 && right->count == 1;
    if (areThere) link(left->first, right->first);
  }
  linkNamesakes();
}

bool SamplePlan::add(const std::vector<const Waveform*>& waveforms, TargetFile& file) {
  for (const Waveform* waveform : waveforms)
    if (!addWaveform(*waveform, file)) return false;
  return true;
}

}  // namespace tervo::sf2
