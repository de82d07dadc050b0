#pragma once
// The fundamental frequency of a monophonic sound: an instrument's note, a sung tone. Any thread; allocates.

#include <optional>
#include <span>

namespace tervo {

struct Pitch {
  double hertz;
  /// Hz. While the sound lasts its fundamental stays within hertz ± tolerance (nineteen of twenty moments of it, by
  /// energy); never below 5 cents, which is what the estimate itself may be wrong by.
  double tolerance;
};

/// Range of fundamentals that are looked for; at low sampling rates the upper end is a quarter of the rate.
inline constexpr double lowestPitch = 20, highestPitch = 6000;

/// Nothing for noise, chords, silence and what is shorter than two periods.
std::optional<Pitch> estimatePitch(std::span<const float> mono, double sampleRate);

/// The fundamental of the sound as a whole, to a fraction of a cent where it is steady, from longer windows than the
/// estimate; always within pitch.hertz ± pitch.tolerance.
double refinePitch(std::span<const float> mono, double sampleRate, const Pitch& pitch);

}  // namespace tervo
