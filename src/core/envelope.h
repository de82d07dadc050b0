#pragma once
// Envelopes as most samplers know them, delay, attack, hold, decay, sustain, release, and how they stand in the rows of
// the model's longer envelopes: Attack 1 is the delay (at level 0), Attack 2 the attack (to level 1), Decay 1 the hold
// (at level 1), Decay 2 the decay (to the sustain level), Release 1 the release (to level 0).

#include "core/articulation_set.h"

namespace tervo {

struct EnvelopeStage {
  float seconds = 0;
  float velocityFactor = 1;  ///< time at the highest velocity by time at the lowest
  float keyFactor = 1;       ///< time by time an octave lower
  bool operator==(const EnvelopeStage&) const = default;
};

struct SixStageEnvelope {
  EnvelopeStage delay, attack, hold, decay;
  float sustain = 1;
  EnvelopeStage release;  ///< seconds from full level to none
  bool operator==(const SixStageEnvelope&) const = default;
};

/// Sets all rows that say the envelope, also those that have their default, so that no upper level shows through.
void setEnvelope(ArticulationSet& articulation, Modulator envelope, const SixStageEnvelope& stages);

/// The stages as the rows say them; absent rows have their default. What else the rows say is left out: see isSixStage.
SixStageEnvelope envelopeOf(const ArticulationSet& articulation, Modulator envelope);

/// Whether the times and levels say nothing that six stages cannot. The release mode is a matter of its own.
bool isSixStage(const ArticulationSet& articulation, Modulator envelope);

}  // namespace tervo
