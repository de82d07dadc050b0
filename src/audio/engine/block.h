#pragma once
// The sizes that everything in the engine agrees on. No functions here: kernels for single instruction sets include it.

#include <cstddef>
#include <cstdint>

namespace tervo::audio {

inline constexpr int blockFrames = 64;  ///< everything is computed in blocks of so many frames
inline constexpr int mostTogether = 4;  ///< blocks that threads render before they wait for each other
inline constexpr int groupVoices = 64;  ///< voices that one thread renders in a row
inline constexpr int midiChannels = 16;

/// Positions in frames, as whole numbers of 1/2^20 frame: what is added up again and again stays exact.
using FixedFrames = int64_t;
inline constexpr int fixedBits = 20;
inline constexpr FixedFrames fixedOne = FixedFrames{1} << fixedBits;

}  // namespace tervo::audio
