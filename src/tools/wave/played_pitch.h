#pragma once
// The pitch at which a waveform is in tune, for regions too that have a root key or a tuning of their own.

#include "core/waveform.h"
#include "tools/operation.h"

namespace tervo {

struct PlayedPitch {
  double cents = 0;           ///< of MIDI key 0: a sound of this pitch, with fine tune 0, is in tune
  std::size_t regions = 0;    ///< that play the waveform
  std::size_t different = 0;  ///< that are in tune at another pitch
};

/// What most regions ask for, of equally many the first; `rootKey` where they have none of their own, or there is no
/// region. A tuning of octaves is what somebody wants to hear: of those the one counts that is nearest to the sound.
PlayedPitch playedPitch(double rootKey, double soundCents, const OperationContext& context);

}  // namespace tervo
