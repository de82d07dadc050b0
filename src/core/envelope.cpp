#include "core/envelope.h"

#include <algorithm>
#include <array>

#include "core/parameter_table.h"

namespace tervo {
namespace {

using P = ParameterId;

/// A stage and its rows in the V-ENV.
struct StageRows {
  EnvelopeStage SixStageEnvelope::*stage;
  P time, velocity, key;
};
constexpr StageRows stageRows[] = {
    {&SixStageEnvelope::delay, P::vEnvAttack1Time, P::vEnvVelocityToAttack1Time, P::vEnvKeyToAttack1Time},
    {&SixStageEnvelope::attack, P::vEnvAttack2Time, P::vEnvVelocityToAttack2Time, P::vEnvKeyToAttack2Time},
    {&SixStageEnvelope::hold, P::vEnvDecay1Time, P::vEnvVelocityToDecay1Time, P::vEnvKeyToDecay1Time},
    {&SixStageEnvelope::decay, P::vEnvDecay2Time, P::vEnvVelocityToDecay2Time, P::vEnvKeyToDecay2Time},
    {&SixStageEnvelope::release, P::vEnvRelease1Rate, P::vEnvVelocityToReleaseTime, P::vEnvKeyToReleaseTime},
};

/// Rows that have one value in every envelope of six stages.
struct FixedRow {
  P row;
  float value;
};
constexpr FixedRow fixedRows[] = {
    {P::vEnvInitialLevel, 0},  {P::vEnvAttack1Level, 0},  {P::vEnvAttack2Level, 1},  {P::vEnvDecay1Level, 1},
    {P::vEnvRelease1Level, 0}, {P::vEnvRelease2Level, 0}, {P::vEnvRelease3Level, 0},
};

float valueOf(const ArticulationSet& articulation, P row) {
  return articulation.get(row).value_or(rowOf(row).defaultValue);
}

}  // namespace

void setEnvelope(ArticulationSet& articulation, Modulator envelope, const SixStageEnvelope& stages) {
  const auto set = [&](P row, float value) {
    const P id = inEnvelope(envelope, row);
    if (const auto number = inRange(id, value)) articulation.set(id, static_cast<float>(*number));
  };
  for (const FixedRow& fixed : fixedRows) set(fixed.row, fixed.value);
  for (const StageRows& rows : stageRows) {
    const EnvelopeStage& stage = stages.*rows.stage;
    set(rows.time, stage.seconds);
    set(rows.velocity, stage.velocityFactor);
    set(rows.key, stage.keyFactor);
  }
  set(P::vEnvSustain, stages.sustain);
}

SixStageEnvelope envelopeOf(const ArticulationSet& articulation, Modulator envelope) {
  const auto get = [&](P row) { return valueOf(articulation, inEnvelope(envelope, row)); };
  SixStageEnvelope stages;
  for (const StageRows& rows : stageRows) stages.*rows.stage = {get(rows.time), get(rows.velocity), get(rows.key)};
  stages.sustain = get(P::vEnvSustain);
  return stages;
}

bool isSixStage(const ArticulationSet& articulation, Modulator envelope) {
  const auto get = [&](P row) { return valueOf(articulation, inEnvelope(envelope, row)); };
  return std::all_of(std::begin(fixedRows), std::end(fixedRows),
                     [&](const FixedRow& fixed) { return get(fixed.row) == fixed.value; });
}

}  // namespace tervo
