#include "tools/wave/played_pitch.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/levels.h"
#include "tools/wave/selectors.h"

namespace tervo {
namespace {

double inTuneAt(const Region& region, double rootKey, double soundCents) {
  const double key = region.trigger.get(ParameterId::rootKeyOverride) ? rootKeyOf(region) : rootKey;
  const double tuning = 100 * static_cast<double>(effectiveValue(region, ParameterId::masterTuning));
  const double cents = 100 * key - tuning;
  constexpr double halfAnOctave = 600;
  if (std::abs(tuning) < halfAnOctave) return cents;
  return cents - 1200 * std::round((cents - soundCents) / 1200);
}

bool isSame(double a, double b) {
  constexpr double inaudible = 0.1;
  return std::abs(a - b) < inaudible;
}

}  // namespace

PlayedPitch playedPitch(double rootKey, double soundCents, const OperationContext& context) {
  struct Wanted {
    double cents;
    std::size_t regions;
  };
  if (!context.selectors || context.selectors->regions.empty()) return {100 * rootKey};
  std::vector<Wanted> all;
  for (const Region* region : context.selectors->regions) {
    const double cents = inTuneAt(*region, rootKey, soundCents);
    const auto same =
        std::find_if(all.begin(), all.end(), [&](const Wanted& each) { return isSame(each.cents, cents); });
    if (same == all.end())
      all.push_back({cents, 1});
    else
      ++same->regions;
  }
  const auto most =
      std::max_element(all.begin(), all.end(), [](const Wanted& a, const Wanted& b) { return a.regions < b.regions; });
  const std::size_t regions = context.selectors->regions.size();
  return {most->cents, regions, regions - most->regions};
}

}  // namespace tervo
