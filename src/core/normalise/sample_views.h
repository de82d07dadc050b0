#pragma once
// Sample data made of other sample data while it is read: single channels, two channels together, pieces in a row. The
// views hold their sources by reference and a few blocks of scratch a stream, so a large file still streams.

#include "core/sample_data.h"

namespace tervo::fixup {

/// One of the channels (0 or 1) of two-channel frames.
SampleRef channelOf(const SampleRef& stereo, int channel);

/// The right channel of two-channel frames as the left one, and the other way round.
SampleRef swapped(const SampleRef& stereo);

/// Two one-channel sounds as the channels of one; a shorter one is continued with silence. The two channels of the same
/// data give that data again, stored bytes and all.
SampleRef interleavedOf(const SampleRef& left, const SampleRef& right);

enum class Direction : uint8_t { forwards, backwards };

/// Frames [first, first + frames) of a source; played backwards the last one comes first.
struct Piece {
  SampleRef source;
  int64_t first;
  int64_t frames;
  Direction direction = Direction::forwards;
};

/// The pieces one after another; those without frames are left out. All sources have the same channels, and there is at
/// least one frame.
SampleRef joined(std::vector<Piece> pieces);

/// Reads whole frames until `out` is full or the data ends, and returns their number. Nothing with LastErrorText when
/// the source fails.
std::optional<std::size_t> readFully(SampleStream& stream, std::span<float> out, int channels);

}  // namespace tervo::fixup
