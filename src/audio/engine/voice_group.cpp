#include "audio/engine/voice_group.h"

#include <algorithm>

#include "audio/engine/quad.h"

namespace tervo::audio {
namespace {

constexpr std::size_t windowFrames = 60 * blockFrames + 2 * SincOscillator::reach;  // at the largest increment
const float silence[blockFrames] = {};  // what an idle lane plays, at increment 0

}  // namespace

VoiceGroup::VoiceGroup() : windows_(lanes * windowFrames) {}

/// Lanes in the order of their number of stages, so that few bundles have stages that do nothing.
std::size_t VoiceGroup::collectLanes(std::span<Voice* const> voices, const VoiceContext& context) noexcept {
  std::array<Voice*, groupVoices> sounding;
  std::size_t count = 0;
  for (Voice* voice : voices)
    if (!voice->isDone() && voice->prepareBlock(context)) sounding[count++] = voice;
  std::size_t laneCount = 0;
  for (int stages = 0; stages <= maxStages; ++stages) {
    for (Voice* voice : std::span(sounding).first(count)) {
      if (voice->stages() != stages) continue;
      for (int c = 0; c < voice->channels(); ++c) lanes_[laneCount++] = {voice, c};
    }
  }
  return laneCount;
}

void VoiceGroup::clearLane(std::size_t i) noexcept {
  bundle_.window[i] = silence;
  bundle_.phase[i] = bundle_.increment[i] = 0;
  for (std::size_t bus = 0; bus < busCount; ++bus) bundle_.gain[bus][i] = bundle_.gainStep[bus][i] = 0;
  for (LaneStage& stage : std::span(bundle_.stage, static_cast<std::size_t>(bundle_.stages))) {
    stage.a1[i] = stage.a2[i] = stage.a3[i] = stage.m0[i] = stage.m1[i] = stage.m2[i] = 0;
    stage.a1Step[i] = stage.a2Step[i] = stage.a3Step[i] = stage.m1Step[i] = 0;
    stage.s1[i] = stage.s2[i] = 0;
  }
}

/// The frames that the kernel is to interpolate, or, where another oscillator has done that, those that it leaves alone
/// because their positions are whole.
void VoiceGroup::fillWindow(std::size_t i, const Lane& lane, const SincOscillator* sinc) noexcept {
  Voice& voice = *lane.voice;
  float* scratch = windows_.data() + i * windowFrames;
  bundle_.window[i] = interpolated_[i];
  bundle_.phase[i] = 0;
  bundle_.increment[i] = static_cast<uint32_t>(fixedOne);
  if (!sinc) {
    bundle_.window[i] = voice.window(lane.channel, 1, 2, scratch);
    bundle_.phase[i] = voice.windowPhase();
    bundle_.increment[i] = voice.increment();
    return;
  }
  float out[blockFrames];
  const float* window = voice.window(lane.channel, SincOscillator::reach - 1, SincOscillator::reach, scratch);
  sinc->render(window, voice.windowPhase(), voice.increment(), out);
  std::copy_n(out, blockFrames, interpolated_[i] + 1);
}

void VoiceGroup::fillLane(std::size_t i, const Lane& lane, const SincOscillator* sinc) noexcept {
  constexpr float perFrame = 1.0f / blockFrames;
  Voice& voice = *lane.voice;
  fillWindow(i, lane, sinc);
  const LaneGains& gains = voice.gains(lane.channel);
  for (std::size_t bus = 0; bus < busCount; ++bus) {
    bundle_.gain[bus][i] = gains.now[bus];
    bundle_.gainStep[bus][i] = (gains.target[bus] - gains.now[bus]) * perFrame;
  }
  if (gains.now[chorusBus] != 0 || gains.now[reverbBus] != 0 || gains.target[chorusBus] != 0 ||
      gains.target[reverbBus] != 0)
    bundle_.busesUsed = busCount;
  for (int s = 0; s < bundle_.stages; ++s) {
    VoiceStage& from = voice.stage(s);
    const bool isUsed = s < voice.stages();
    const FilterStage& now = isUsed ? from.now : openStage;
    const FilterStage& target = isUsed ? from.target : openStage;
    LaneStage& to = bundle_.stage[s];
    to.a1[i] = now.a1, to.a2[i] = now.a2, to.a3[i] = now.a3;
    to.m0[i] = target.m0, to.m1[i] = now.m1, to.m2[i] = target.m2;
    to.a1Step[i] = (target.a1 - now.a1) * perFrame;
    to.a2Step[i] = (target.a2 - now.a2) * perFrame;
    to.a3Step[i] = (target.a3 - now.a3) * perFrame;
    to.m1Step[i] = (target.m1 - now.m1) * perFrame;
    to.s1[i] = from.state[lane.channel][0];
    to.s2[i] = from.state[lane.channel][1];
  }
}

void VoiceGroup::renderBundle(std::span<const Lane> part, RenderLanes kernel, const SincOscillator* sinc) noexcept {
  bundle_.stages = part.back().voice->stages();
  bundle_.busesUsed = chorusBus;
  for (std::size_t i = 0; i < lanes; ++i) {
    if (i < part.size())
      fillLane(i, part[i], sinc);
    else
      clearLane(i);
  }
  kernel(bundle_, sums_);
  for (std::size_t i = 0; i < part.size(); ++i) {
    for (int s = 0; s < part[i].voice->stages(); ++s) {
      float(&state)[2] = part[i].voice->stage(s).state[part[i].channel];
      state[0] = bundle_.stage[s].s1[i];
      state[1] = bundle_.stage[s].s2[i];
    }
  }
}

uint32_t VoiceGroup::render(std::span<Voice* const> voices, const VoiceContext& context, RenderLanes kernel,
                            BusBlock& out) noexcept {
  const auto countDone = [&] {
    return std::count_if(voices.begin(), voices.end(), [](const Voice* voice) { return voice->isDone(); });
  };
  const auto before = countDone();
  sums_ = {};
  const std::size_t count = collectLanes(voices, context);
  for (std::size_t i = 0; i < count; i += lanes)
    renderBundle(std::span(lanes_).subspan(i, std::min<std::size_t>(lanes, count - i)), kernel, context.sinc);
  for (std::size_t i = 0; i < count; ++i)
    if (lanes_[i].channel == 0) lanes_[i].voice->finishBlock();
  for (std::size_t bus = 0; bus < busCount; ++bus)
    for (std::size_t n = 0; n < blockFrames; n += 4) {
      Quad sums[4];
      for (std::size_t i = 0; i < 4; ++i)
        sums[i] = loadQuad(sums_.bus[bus][n + i]) + loadQuad(sums_.bus[bus][n + i] + 4);
      transpose(sums);
      store((sums[0] + sums[2]) + (sums[1] + sums[3]), out.bus[bus] + n);
    }
  return static_cast<uint32_t>(countDone() - before);
}

}  // namespace tervo::audio
