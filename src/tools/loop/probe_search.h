#pragma once
// The best pair among loops of nearly one length, as a sound with a pitch has them.

#include <array>
#include <span>
#include <vector>

#include "tools/loop/loop_contest.h"
#include "tools/loop/search_methods.h"

namespace tervo {

/// Goes through lengths of loops, not through pairs of crossings: 32 frames of a sound and those so much later, or four
/// of them already, mostly tell that no span around the ones fits any around the others. Where they do not, sixteen
/// frames at a time are compared, and what is left pair by pair. Good where loops may have some thousand lengths and
/// the best ones are much better than the others, however many of them there are.
class ProbeSearch {
 public:
  /// Crossings of either direction, in ascending order. The sound must outlive the search.
  ProbeSearch(std::span<const float> x, std::span<const std::vector<uint32_t>, 2> crossings);

  /// Seconds that run() will take at least, roughly.
  static double cost(const LoopRange& range);
  /// Gives up when it takes more than that, roughly.
  SearchEnd run(LoopContest& contest, double seconds, const SearchProgress& progress);

 private:
  /// Crossings of one direction with whole, finite spans that are not silent, as bits by where the spans begin.
  struct Spans {
    std::vector<uint64_t> bits;
    std::vector<uint32_t> before;  ///< how many there are before a word of bits
    std::vector<double> lengths;

    uint64_t from(std::size_t frame) const;  ///< 64 bits
    double lengthAt(std::size_t frame) const;
  };
  /// Some starts, and 32 frames that all their spans have in common.
  struct Probe {
    std::size_t first;      ///< where the first of the spans may begin
    double energy, glance;  ///< of the 32 frames, and of the first four of them
    double longest;         ///< square of the length of the longest span
    float factor;           ///< that products must reach; 0: frames that say nothing
    float glanceFactor;     ///< the same for the first four
    std::size_t soft;       ///< at most so many samples of a span are soft
  };

  void addSpans(std::span<const float> x, std::span<const uint32_t> crossings, std::span<const double> energies,
                Spans& spans) const;
  void prepareLengths();
  Probe probeAt(std::size_t first) const;
  std::size_t softSamples(const Probe& probe) const;
  void updateFactor(Probe& probe, double limit) const;
  uint64_t hits(const Probe& probe, std::size_t lag) const;
  void offerPairs(LoopContest& contest, const Probe& probe, std::size_t lag);

  double scale_ = 1;            ///< a power of two that the sound was multiplied with
  std::vector<float> x_;        ///< its peak is 1..2; silence behind it
  std::vector<float> lengths_;  ///< of 32 frames from each one on; minus infinity where it is too soft to tell
  std::vector<float> glances_;  ///< the same, of four frames
  std::array<Spans, 2> directions_;
  double seconds_ = 0;  ///< that run() has taken
};

}  // namespace tervo
