#include "tools/loop/probe_search.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "dsp/span_kernels.h"

namespace tervo {
namespace {

using dsp::glanceSize;
using dsp::partSize;
using dsp::probeSize;

// Spans that begin in so many frames have the 32 behind these in common.
constexpr std::size_t startsOfProbe = spanFrames - probeSize;
constexpr std::size_t partsOfProbe = (startsOfProbe + spanFrames) / partSize;
constexpr std::size_t padding = startsOfProbe + spanFrames + 2 * dsp::mostLags;  // that kernels may read
constexpr double secondsToProbe = 70e-9, secondsToCompare = 200e-9, secondsToLook = 10e-9, secondsToOffer = 150e-9;

// Bounds of what single precision gets wrong, as parts of the lengths of what is compared.
constexpr double productError = 4e-6, squaresError = 1e-5, ratioError = 1.2e-7;
constexpr double sumError = partsOfProbe * 0x1p-53;  // of the difference of two sums, as a part of the longest one
constexpr double squareError = 0x1p-149;             // of the square of a sample at the end of single precision
constexpr double mostToGlance = 1e-3;                // square of a distance, as a part of the energy of four frames
constexpr double softest = 1e-15;                    // length whose products are far from the end of single precision

double energyOf(const float* frames, std::size_t count) {
  double sum = 0;
  for (std::size_t i = 0; i < count; ++i) sum += double{frames[i]} * double{frames[i]};
  return sum;
}

/// Where the processor's instruction is not to be relied on, std::popcount calls a function.
uint64_t bitsIn(uint64_t x) {
  x -= x >> 1 & 0x5555555555555555;
  x = (x & 0x3333333333333333) + (x >> 2 & 0x3333333333333333);
  return ((x + (x >> 4)) & 0x0F0F0F0F0F0F0F0F) * 0x0101010101010101 >> 56;
}

/// Of the 256 frames from one on, where energies of parts are known. No difference of sums: what is soft beside
/// something loud stays exact.
double lengthAt(std::span<const float> x, std::size_t first, std::span<const double> energies) {
  const std::size_t whole = (first + partSize - 1) / partSize, end = (first + spanFrames) / partSize;
  double sum = energyOf(x.data() + first, whole * partSize - first);
  for (std::size_t i = whole; i < end; ++i) sum += energies[i];
  return std::sqrt(sum + energyOf(x.data() + end * partSize, first + spanFrames - end * partSize));
}

}  // namespace

ProbeSearch::ProbeSearch(std::span<const float> x, std::span<const std::vector<uint32_t>, 2> crossings) {
  float peak = 0;
  for (const float sample : x) peak = std::isfinite(sample) ? std::max(peak, std::abs(sample)) : peak;
  if (peak > 0) scale_ = std::ldexp(1.0, -std::ilogb(peak));
  x_.assign(x.size() + padding, 0.0f);
  for (std::size_t i = 0; i < x.size(); ++i)
    x_[i] = std::isfinite(x[i]) ? static_cast<float>(double{x[i]} * scale_) : 0;
  prepareLengths();
  std::vector<double> energies(x.size() / partSize);
  for (std::size_t i = 0; i < energies.size(); ++i) energies[i] = energyOf(x.data() + i * partSize, partSize);
  for (std::size_t direction = 0; direction < 2; ++direction)
    addSpans(x, crossings[direction], energies, directions_[direction]);
}

void ProbeSearch::addSpans(std::span<const float> x, std::span<const uint32_t> crossings,
                           std::span<const double> energies, Spans& spans) const {
  spans.bits.assign(x_.size() / 64 + 2, 0);
  spans.before.assign(spans.bits.size(), 0);
  for (const uint32_t position : crossings) {
    if (position < spanBefore || position + spanBefore > x.size()) continue;
    const std::size_t first = position - spanBefore;
    const double length = lengthAt(x, first, energies);
    if (!std::isfinite(length) || length == 0) continue;
    spans.bits[first / 64] |= uint64_t{1} << first % 64;
    ++spans.before[first / 64 + 1];
    spans.lengths.push_back(length);
  }
  for (std::size_t i = 1; i < spans.before.size(); ++i) spans.before[i] += spans.before[i - 1];
}

void ProbeSearch::prepareLengths() {
  const auto toLengths = [](std::vector<float>& energies) {
    for (float& each : energies) {
      each = std::sqrt(each);
      if (each < static_cast<float>(softest)) each = -std::numeric_limits<float>::infinity();
    }
  };
  lengths_.resize(x_.size());
  for (std::size_t i = 0; i < x_.size(); ++i) lengths_[i] = x_[i] * x_[i];
  for (std::size_t frames = 1; frames < probeSize; frames *= 2) {
    if (frames == glanceSize) glances_ = lengths_;
    for (std::size_t i = 0; i + frames < lengths_.size(); ++i) lengths_[i] += lengths_[i + frames];
  }
  toLengths(glances_);
  toLengths(lengths_);
}

uint64_t ProbeSearch::Spans::from(std::size_t frame) const {
  const std::size_t word = frame / 64, shift = frame % 64;
  return shift == 0 ? bits[word] : bits[word] >> shift | bits[word + 1] << (64 - shift);
}

double ProbeSearch::Spans::lengthAt(std::size_t frame) const {
  const uint64_t earlier = bits[frame / 64] & ((uint64_t{1} << frame % 64) - 1);
  return lengths[before[frame / 64] + bitsIn(earlier)];
}

double ProbeSearch::cost(const LoopRange& range) {
  const auto frames = static_cast<double>(range.last - range.first);
  const auto longest = std::min(static_cast<double>(range.longest), frames);
  const auto lengths = std::max(longest - static_cast<double>(range.shortest), 0.0) + 2;
  const double starts = frames - longest + lengths / 2;
  return starts / static_cast<double>(startsOfProbe) * (lengths / 64 + 1) * secondsToProbe;
}

SearchEnd ProbeSearch::run(LoopContest& contest, double seconds, const SearchProgress& progress) {
  constexpr std::size_t timesBetween = 2000;  // two asks for progress
  const LoopRange& range = contest.range();
  const std::size_t together = dsp::spanKernels().lagsTogether;
  const std::size_t begin = range.first - std::min(range.first, spanBefore);
  const std::size_t end = range.last - std::min(range.last, range.shortest - 1);
  std::size_t times = 0;
  seconds_ = 0;
  for (std::size_t first = begin; first < end; first += startsOfProbe) {
    Probe probe = probeAt(first);
    if (probe.longest == 0) continue;
    double limit = contest.limit();
    if (limit < LoopContest::nearlyEqual) probe.soft = softSamples(probe);
    updateFactor(probe, limit);
    for (std::size_t lag = range.shortest - 1; lag <= range.longest && first + lag <= range.last; lag += together) {
      const std::size_t lags = std::min(together, range.longest + 1 - lag);
      for (uint64_t left = hits(probe, lag) & ~uint64_t{0} >> (64 - lags); left != 0; left &= left - 1)
        offerPairs(contest, probe, lag + static_cast<std::size_t>(std::countr_zero(left)));
      seconds_ += secondsToProbe;
      if (const double now = contest.limit(); now != limit) updateFactor(probe, limit = now);
      if (++times % timesBetween != 0) continue;
      const double part = static_cast<double>(first - begin) / static_cast<double>(end - begin);
      if (!progress(part)) return SearchEnd::stopped;
      if (seconds_ > seconds / 16 && seconds_ > seconds * part) return SearchEnd::tooSlow;
    }
  }
  contest.settle();
  return SearchEnd::done;
}

ProbeSearch::Probe ProbeSearch::probeAt(std::size_t first) const {
  const float* frames = x_.data() + first + startsOfProbe;
  Probe probe{first, energyOf(frames, probeSize), energyOf(frames, glanceSize), 0, 0, 0, spanFrames};
  for (const Spans& spans : directions_) {
    for (std::size_t i = 0; i < startsOfProbe; i += 64) {
      uint64_t left = spans.from(first + i) & ~uint64_t{0} >> (64 - std::min<std::size_t>(64, startsOfProbe - i));
      for (; left != 0; left &= left - 1) {
        const double length = scale_ * spans.lengthAt(first + i + static_cast<std::size_t>(std::countr_zero(left)));
        probe.longest = std::max(probe.longest, length * length);
      }
    }
  }
  return probe;
}

std::size_t ProbeSearch::softSamples(const Probe& probe) const {
  const auto loudest = static_cast<float>(LoopContest::softSample * std::sqrt(probe.longest));
  const float* frames = x_.data() + probe.first;
  const auto isSoft = [&](std::size_t i) { return std::size_t{std::abs(frames[i]) < loudest}; };
  std::size_t count = 0, most = 0;
  for (std::size_t i = 0; i < startsOfProbe + spanFrames; ++i) {
    count += isSoft(i);
    if (i >= spanFrames) count -= isSoft(i - spanFrames);
    most = std::max(most, count);
  }
  return most;
}

/// Whatever the loudness of the other span, of the difference at least what is at right angles to it remains: of frames
/// a and b with a product p that is aa - pp / bb.
void ProbeSearch::updateFactor(Probe& probe, double limit) const {
  const auto factorOf = [&](double energy) {
    const double enough = energy - limit * probe.longest, length = std::sqrt(energy);
    const double factor = enough > 0 && length > softest ? std::sqrt(enough) - productError * length : 0;
    return static_cast<float>(std::max(factor, 0.0));
  };
  probe.factor = factorOf(probe.energy);
  // Few frames of many spans are nearly alike, but not of many as nearly as that.
  const bool isEnough = limit * probe.longest < mostToGlance * probe.glance;
  probe.glanceFactor = isEnough ? factorOf(probe.glance) : 0;
}

/// Lags behind this one at which spans may fit. All where the probe says nothing.
uint64_t ProbeSearch::hits(const Probe& probe, std::size_t lag) const {
  if (!(probe.factor > 0)) return ~uint64_t{0};
  const std::size_t at = probe.first + startsOfProbe;
  if (probe.glanceFactor > 0 && dsp::spanKernels().glance(x_.data() + at, x_.data() + at + lag,
                                                          glances_.data() + at + lag, probe.glanceFactor) == 0)
    return 0;
  return dsp::spanKernels().probe(x_.data() + at, x_.data() + at + lag, lengths_.data() + at + lag, probe.factor);
}

void ProbeSearch::offerPairs(LoopContest& contest, const Probe& probe, std::size_t lag) {
  const std::size_t first = probe.first;
  constexpr std::size_t words = (startsOfProbe + 63) / 64;
  uint64_t pairs[2][words], any = 0;
  for (std::size_t direction = 0; direction < 2; ++direction) {
    const Spans& spans = directions_[direction];
    for (std::size_t i = 0; i < words; ++i) {
      const std::size_t bits = std::min<std::size_t>(64, startsOfProbe - 64 * i);
      const std::size_t at = first + 64 * i;
      pairs[direction][i] = spans.from(at) & spans.from(at + lag) & ~uint64_t{0} >> (64 - bits);
      any |= pairs[direction][i];
    }
  }
  if (any == 0) return;

  // Of few digits, so that 1 is 1.
  const float quotient = lengths_[first + startsOfProbe] / lengths_[first + startsOfProbe + lag];
  const float ratio = quotient > 0 ? std::clamp(std::round(quotient * 0x1p10f) * 0x1p-10f, 0x1p-10f, 0x1p10f) : 1.0f;
  float squares[partsOfProbe];
  dsp::spanKernels().squares(x_.data() + first, x_.data() + first + lag, ratio, partsOfProbe, squares);
  double sums[partsOfProbe + 1] = {};
  for (std::size_t i = 0; i < partsOfProbe; ++i) sums[i + 1] = sums[i] + double{squares[i]};
  // More than nothing for what is soft beside something loud.
  const double mostWrong = sums[partsOfProbe] * sumError + squareError * spanFrames;

  std::size_t looked = 0, offered = 0;
  const double reach = std::sqrt(contest.limit(probe.soft)), margin = ratio == 1 ? 0 : ratioError;
  for (std::size_t direction = 0; direction < 2; ++direction) {
    const Spans& spans = directions_[direction];
    for (std::size_t i = 0; i < words; ++i) {
      for (uint64_t left = pairs[direction][i]; left != 0; left &= left - 1) {
        ++looked;
        const std::size_t offset = 64 * i + static_cast<std::size_t>(std::countr_zero(left));
        const double lengthA = spans.lengthAt(first + offset), lengthB = spans.lengthAt(first + offset + lag);
        const double a = scale_ * lengthA, b = scale_ * static_cast<double>(ratio) * lengthB;
        // The whole parts of the spans alone, if the one were ratio times as loud.
        const double square =
            sums[(offset + spanFrames) / partSize] - sums[(offset + partSize - 1) / partSize] - mostWrong;
        const double farthest = reach * a + std::abs(a - b) + margin * b;
        if (square * (1 - 2 * squaresError) > farthest * farthest) continue;
        // All of the parts, where no difference in loudness is to be taken away.
        const double most = sums[(offset + spanFrames + partSize - 1) / partSize] - sums[offset / partSize];
        const bool isWithin = ratio == 1 && most * (1 + squaresError) < contest.limit() * a * b;
        const std::size_t start = first + offset + spanBefore;
        ++offered;
        contest.offer({start, lengthA}, {start + lag, lengthB},
                      isWithin ? LoopContest::Distance::withinLimit : LoopContest::Distance::unknown);
      }
    }
  }
  seconds_ +=
      secondsToCompare + secondsToLook * static_cast<double>(looked) + secondsToOffer * static_cast<double>(offered);
}

}  // namespace tervo
