#pragma once
// A high-pass filter that moves nothing in time.

#include <cstddef>
#include <span>

namespace tervo {

/// Filters one channel in place: a Butterworth filter of fourth order, run forwards and then backwards, so that all
/// phases stay as they are and a loop's seam fits as well as before. 6 dB down at the cutoff, 0.5 dB half an octave
/// above it, 25 dB half an octave below. At both ends the sound is continued by turning it round its last sample.
/// Samples that are no finite numbers count as 0.
/// `channel` of `channels` in interleaved frames. A cutoff of 0 or less, or from half the rate on, changes nothing.
void highPassZeroPhase(std::span<float> interleaved, std::size_t channels, std::size_t channel, double cutoff,
                       double sampleRate);

}  // namespace tervo
