#pragma once
// Loops as regions play them: the waveform's own one, another one, or none.

#include "core/waveform.h"
#include "tools/operation.h"

namespace tervo {

/// Which regions are to play the loop that was found for their waveform. Where a drum kit or a one-shot plays none, a
/// loop would be heard for ever.
enum class RegionsToLoop : uint8_t { notDrums, all, asTheyAre };
inline constexpr TextView regionsToLoopChoices[] = {u"not-drums", u"all", u"as-they-are"};

/// Whether the waveform has a loop of its own, heard or not, or a region plays another one of it.
bool isLooped(const Waveform& waveform, const OperationContext& context);

/// Whether regions, where there are some, would play a loop that is found.
bool wouldBeHeard(RegionsToLoop chosen, const OperationContext& context);

/// Lets regions play the waveform's own loop from now on, which was just found, or keeps them from it; reports both.
void playFoundLoop(const Waveform& waveform, RegionsToLoop chosen, const OperationContext& context);

/// Reports how many regions do not play the waveform's own loop, and so do not hear what was done for it.
void reportOtherLoops(const Waveform& waveform, const OperationContext& context);

}  // namespace tervo
