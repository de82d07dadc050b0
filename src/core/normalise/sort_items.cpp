#include "core/normalise/natural_order.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {

void sortInstruments(Collection& collection) {
  collection.sortInstruments(
      [](const Instrument& a, const Instrument& b) { return packedNumber(a) < packedNumber(b); });
}

void sortWaveforms(Collection& collection) {
  collection.sortWaveforms([](const Waveform& a, const Waveform& b) { return naturallyBefore(a.name, b.name); });
}

}  // namespace tervo::fixup
