#pragma once
// Generic PCM import: sample data that stays in its file and is decoded while it is read. It costs a few blocks of
// memory however many frames a header declares, and works for every format of SampleDecoder.
//
// Failures at once: "Zero length" (no frames), "No channels", "Too many channels" (more than two), "Invalid format for
// generic import function!", and "Reading from file failed" when the source is too short. The last one, and "Out of
// memory", may also come while it is read, from a source that has shrunk since.

#include "core/sample_data.h"

namespace tervo {

/// `stored` says where the bytes are and, in `format`, what they are. With SplitChannels the second channel begins at
/// `secondChannelOffset`, or right behind the first when that is 0. `bytes` and `genericPcm` are filled in.
SampleRef importPcm(StoredSamples stored, int channels, int64_t frames);

/// Integers in containers of 1 to 8 bytes, of which only the top bits may be significant (12 bits in 2 bytes, 20 in 3,
/// 24 in 4, 53 in 8); full scale is that of the container. Of `stored.format` Unsigned and BigEndian count. Up to four
/// bytes that is PCM of the container's width, and stored() says so.
SampleRef importPcmContainer(StoredSamples stored, int containerBytes, int channels, int64_t frames);

/// Any format of importPcm (`containerBytes` 0) or containers of integers, interleaved, with any number of channels up
/// to 65535, reduced to two with the weights of downmixWeights(). One and two channels stay as they are.
SampleRef importPcmDownmixed(StoredSamples stored, int containerBytes, int channels, int64_t frames,
                             uint32_t channelMask);

/// How much of each channel goes to the left and to the right.
struct DownmixWeights {
  std::vector<float> left;
  std::vector<float> right;
};

/// Weights after ITU-R BS.775 for a speaker mask as WAVEFORMATEXTENSIBLE has it (0: the usual layout of that many
/// channels): centre and surrounds at -3 dB, no low-frequency channel, channels without a place as if from the centre.
/// All are then lowered alike so that no output can exceed full scale.
DownmixWeights downmixWeights(int channels, uint32_t channelMask);

}  // namespace tervo
