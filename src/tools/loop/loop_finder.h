#pragma once
// Finds a loop in the frames of a waveform and prepares them for it.

#include <cstdint>
#include <span>
#include <vector>

#include "tools/loop/loop_search.h"

namespace tervo {

struct LoopFinderOptions {
  LoopPercentages part;
  bool highPass = false;  ///< take away what is below the fundamental, from the waveform too
  bool fractionalStart = false;
  bool tune = false;
  bool checkChannels = false;  ///< candidates are ranked by the channel where they fit worse; at least five
  std::size_t candidates = 1;  ///< how many to look for
  std::size_t take = 1;        ///< which of them becomes the loop, counted from 1
};

struct FoundLoop {
  double start = 0;  ///< frames
  double end = 0;
  double pitch = 0;  ///< semitones that the loop is to be played higher
};

struct LoopCandidate {
  LoopPair pair;
  std::vector<double> channelScores;  ///< one a channel
};

struct LoopFinding {
  bool stopped = false;
  double cutoff = 0;  ///< Hz, below which frames were filtered; 0 when they were not
  std::optional<FoundLoop> loop;
  std::vector<LoopCandidate> candidates;  ///< by the score of the mono copy, best first
  std::size_t taken = 0;                  ///< the candidate that became the loop
};

/// The mean of the channels; where they cancel each other, the louder one.
std::vector<float> monoCopy(std::span<const float> interleaved, std::size_t channels);

LoopFinding findLoop(std::span<float> interleaved, std::size_t channels, double sampleRate,
                     const LoopFinderOptions& options, const SearchProgress& progress);

/// By how much to move a start in -0.5 .. 0.5 frames, in steps of 0.01, so that the sound there comes closest to the
/// sample at `end`; 0 too near to the ends. Of equally close ones the first from below.
double fractionalOffset(std::span<const float> mono, std::size_t start, std::size_t end);

/// Semitones, in whole cents and -12..12, by which a loop of a length in frames must be played higher for the nearest
/// whole number of periods (at least one) to sound at `hertz`.
double loopTuning(double frames, double hertz, double sampleRate);

}  // namespace tervo
