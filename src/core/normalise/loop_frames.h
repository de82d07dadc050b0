#pragma once
// Frames in the order in which loops play them: for single waveforms what the load-time normalisation does to all.

#include <cstddef>

#include "core/instrument.h"
#include "core/report.h"
#include "core/waveform.h"

namespace tervo::fixup {

/// Lets at least so many frames follow the end of the loop that ends last. They are those that the loop plays when it
/// goes on. False when they are there, or no loop is.
bool appendBehindLoops(Waveform& waveform, int64_t frames, ConversionReport& report);

/// The index of a loop among the markers; noLoop for those who play none.
using LoopIndex = std::ptrdiff_t;
inline constexpr LoopIndex noLoop = -1;
/// The first loop, unless it is off.
LoopIndex mainLoopOf(const Waveform& waveform);
/// The loop that a region plays of its waveform, or of one with the same markers.
LoopIndex playedLoopOf(const Region& region, const Waveform& waveform);

/// Whether a marker is an active loop of another type than forward.
bool needsUnrolling(const Marker& marker);
/// Makes all loops forward ones, for whoever plays the one of an index: frames are put in so that it sounds the same.
/// Loops behind it get frames too, others only change their type. Markers move with the frames.
void makeLoopsForward(Waveform& waveform, LoopIndex played, ConversionReport& report);
/// The number of a section with the range that a loop has now, for those who play the loop as a section.
std::size_t sectionLike(Waveform& waveform, const Marker& loop);

}  // namespace tervo::fixup
