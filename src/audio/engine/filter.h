#pragma once
// The sixteen filters of a voice, as one or two stages that all have the same form: the trapezoidal state-variable
// filter, which stays stable however fast its coefficients move. With a1 = a2 = 0 the same form is a one-pole filter.
//
//     v3 = v0 - s2;  t1 = a1 s1 + a2 v3;  t2 = s2 + a2 s1 + a3 v3
//     output = m0 v0 + m1 (s1 + t1) + m2 (s2 + t2);  s1 = t1;  s2 = t2
//
// The usual form has v1 = (s1 + t1) / 2 for the band and v2 = (s2 + t2) / 2 for the low pass; here the halves are in
// the coefficients, which shortens the way from one frame to the next.

#include <array>
#include <cstdint>

namespace tervo::audio {

/// In the order of the row filterType; the last three are the modes of the equalizer's bands.
enum class FilterType : uint8_t {
  passThrough,
  lowPass6,
  lowPass12,
  lowPass18,
  lowPass24,
  highPass6,
  highPass12,
  highPass18,
  highPass24,
  bandPass6,
  bandPass12,
  bandReject6,
  bandReject12,
  peak,
  lowShelf,
  highShelf
};

struct FilterStage {
  float a1 = 0, a2 = 0, a3 = 0;
  float m0 = 1, m1 = 0, m2 = 0;
};

/// What stands for no filter in a row of stages.
inline constexpr FilterStage openStage{};

int stagesOf(FilterType type) noexcept;

/// The stages of one of the first thirteen types. Resonance is the height of the peak over the pass band in dB; the
/// types of 6 dB have none to give. 0 is as flat as the slope can be (Butterworth).
void designFilter(FilterType type, float cutoffHertz, float resonanceDb, float sampleRate,
                  std::array<FilterStage, 2>& stages) noexcept;

/// One band of the equalizer: peak, lowShelf or highShelf.
FilterStage designBand(FilterType type, float hertz, float gainDb, float q, float sampleRate) noexcept;

/// What a stage does to a sine: the factor of its amplitude at a frequency as a part of the sample rate, 0..0.5. For
/// pictures; any thread.
double magnitudeOf(const FilterStage& stage, double turnsPerFrame);
/// Of a whole filter, in dB, not below -200.
double filterDb(FilterType type, float cutoffHertz, float resonanceDb, double hertz, float sampleRate);

/// Makes the tables that designFilter needs; it does so itself when it is called first, but not on the audio thread.
void prepareFilters();

}  // namespace tervo::audio
