#pragma once
// How names say that a waveform is one channel of a pair: "Piano-L" and "Piano-R", "Piano (L)", "Piano Left", "PianoL".

#include <optional>

#include "base/text.h"

namespace tervo::fixup {

struct ChannelName {
  Text front;              ///< what stands before the ending
  Text ending;             ///< "-L", "(r)", "Left": what says the channel
  std::size_t convention;  ///< which pair of endings it is of
  enum class Side { left, right } side;

  /// The name of the pair: the front without the blanks and marks at its end.
  Text stem() const;
};

/// Nothing when the name does not end with a channel, or consists of nothing else.
std::optional<ChannelName> channelNameOf(TextView name);

/// The name with upper and lower case made alike.
Text folded(TextView name);
/// What both channels of a pair have in common, and nobody else: front and convention, folded.
Text pairKey(const ChannelName& name);
/// What the other channel of the pair is called, folded.
Text foldedPartner(const ChannelName& name);

}  // namespace tervo::fixup
