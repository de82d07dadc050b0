#include "ui/editors/envelope_graph.h"

#include <algorithm>
#include <cmath>

#include "ui/property_rows.h"

namespace tervo::ui {
namespace {

using P = ParameterId;

constexpr double finest = 0.001;   // seconds: from here on the scale is logarithmic
constexpr double leastWidth = 12;  // of a segment without time, so that its end can be taken hold of
constexpr double slots = envelopeSegments + 0.5;

}  // namespace

// clang-format off
const std::array<EnvelopeRows, envelopeSegments> envelopeRows = {{
    {"Attack 1",  P::vEnvAttack1Time,  P::vEnvAttack1Level},
    {"Attack 2",  P::vEnvAttack2Time,  P::vEnvAttack2Level},
    {"Decay 1",   P::vEnvDecay1Time,   P::vEnvDecay1Level},
    {"Decay 2",   P::vEnvDecay2Time,   P::vEnvSustain},
    {"Release 1", P::vEnvRelease1Rate, P::vEnvRelease1Level},
    {"Release 2", P::vEnvRelease2Time, P::vEnvRelease2Level},
    {"Release 3", P::vEnvRelease3Time, P::vEnvRelease3Level},
}};
// clang-format on

EnvelopeGraph EnvelopeGraph::of(ItemId item, Modulator which) {
  EnvelopeGraph graph;
  graph.initial = effectiveNumber(item, inEnvelope(which, P::vEnvInitialLevel));
  for (std::size_t i = 0; i < envelopeSegments; ++i) {
    graph.levels[i] = effectiveNumber(item, inEnvelope(which, envelopeRows[i].level));
    graph.seconds[i] = effectiveNumber(item, inEnvelope(which, envelopeRows[i].time));
  }
  graph.seconds[attackSegments] *= std::abs(graph.levels[attackSegments] - graph.levels[attackSegments - 1]);
  return graph;
}

double EnvelopeGraph::levelBefore(int segment) const {
  return segment == 0 ? initial : levels[static_cast<std::size_t>(segment) - 1];
}

double EnvelopeGraph::longest() const {
  return *std::max_element(seconds.begin(), seconds.end());
}

EnvelopeScale::EnvelopeScale(double left, double right, double longestSeconds)
    : left_(left), right_(right), slot_(std::max((right - left) / slots, leastWidth + 1)), longest_(1) {
  while (longest_ < longestSeconds && longest_ < 100) longest_ *= 10;
}

double EnvelopeScale::width(double seconds) const {
  return leastWidth + (slot_ - leastWidth) * std::log1p(seconds / finest) / std::log1p(longest_ / finest);
}

double EnvelopeScale::seconds(double width) const {
  const double part = std::max(width - leastWidth, 0.0) / (slot_ - leastWidth);
  return finest * std::expm1(part * std::log1p(longest_ / finest));
}

double EnvelopeScale::releaseStart(const EnvelopeGraph& graph) const {
  double attack = left_, release = 0;
  for (int i = 0; i < envelopeSegments; ++i)
    (i < attackSegments ? attack : release) += width(graph.seconds[static_cast<std::size_t>(i)]);
  return std::max(right_ - release, attack + leastWidth);
}

EnvelopePlaces::EnvelopePlaces(const EnvelopeGraph& graph, const EnvelopeScale& scale, double releaseStart) {
  double x = scale.left();
  for (std::size_t i = 0; i < envelopeSegments; ++i) {
    if (i == attackSegments) x = std::max(x, releaseStart);
    from[i] = x;
    x += scale.width(graph.seconds[i]);
    to[i] = x;
  }
}

}  // namespace tervo::ui
