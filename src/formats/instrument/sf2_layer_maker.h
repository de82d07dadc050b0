#pragma once
// Puts the regions that one zone of a preset makes into layers.

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "core/instrument.h"
#include "core/levels.h"
#include "formats/instrument/sf2_records.h"

namespace tervo::sf2 {

class LayerMaker {
 public:
  explicit LayerMaker(Instrument& instrument) : instrument_(instrument) {}

  /// A new region. It goes into the current layer, or into a new one where it would sound beside another region of the
  /// current one; half of a stereo pair goes to its partner.
  Region& add(Range keys, Range velocities, std::size_t sample, const SampleRecord& record);

 private:
  struct Placed {
    Range keys, velocities;
    std::size_t sample;
  };
  struct OpenLayer {
    Layer* layer;
    std::vector<Placed> placed;
  };
  bool canTake(const OpenLayer& layer, const Placed& wanted, std::size_t partner) const;
  std::size_t layerFor(const Placed& wanted, const SampleRecord& record);

  Instrument& instrument_;
  std::vector<OpenLayer> layers_;
  std::unordered_map<std::size_t, std::size_t> lastLayerOf_;  ///< by sample
};

}  // namespace tervo::sf2
