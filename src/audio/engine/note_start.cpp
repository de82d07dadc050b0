// Which regions answer to a key or a pedal, and how they begin.

#include <algorithm>

#include "audio/engine/performer.h"

namespace tervo::audio {
namespace {

using P = ParameterId;

enum class SustainSwitch : uint8_t { ignored, pedalUp, pedalDown };

bool fitsPedal(const Zone& zone, bool isSustainDown) {
  const auto wanted =
      static_cast<SustainSwitch>(static_cast<int>(std::clamp(zone[P::triggerSustainSwitch], 0.0f, 2.0f)));
  return wanted == SustainSwitch::ignored || (wanted == SustainSwitch::pedalDown) == isSustainDown;
}

}  // namespace

void Performer::collectCandidates(const SoundInstrument& instrument, uint8_t channel, int key, int velocity,
                                  Cause cause) noexcept {
  candidates_.clear();
  const bool isSustainDown = channels_[channel].isDown(Controller::sustain);
  for (const Zone& zone : instrument.zones) {
    if ((cause.types >> static_cast<unsigned>(zone.trigger()) & 1u) == 0 || !zone.played.sound) continue;
    const float fade = zone.fadeAt(key, velocity);
    if (fade <= 0 || !fitsPedal(zone, isSustainDown)) continue;
    if (candidates_.size() == candidates_.capacity()) break;  // more than there are voices
    candidates_.push_back({&zone, fade});
  }
  if (!cause.isKeyPress) return;
  takeTurns(channel, TriggerType::roundRobin);
  takeTurns(channel, TriggerType::randomChoice);
}

/// Of the candidates of a layer that take turns or are chosen at random, leaves one.
void Performer::takeTurns(uint8_t channel, TriggerType type) noexcept {
  const auto isOne = [&](const Candidate& candidate, int layer) {
    return candidate.zone->trigger() == type && candidate.zone->layer == layer;
  };
  const uint32_t number = type == TriggerType::roundRobin ? turns_[channel] : random_.next() >> 8;
  bool any = false;
  for (std::size_t first = 0; first < candidates_.size(); ++first) {
    const int layer = candidates_[first].zone->layer;
    if (candidates_[first].zone->trigger() != type) continue;
    any = true;
    const auto rest = candidates_.begin() + static_cast<std::ptrdiff_t>(first);
    const auto count = static_cast<uint32_t>(
        std::count_if(rest, candidates_.end(), [&](const Candidate& each) { return isOne(each, layer); }));
    uint32_t place = number % count;
    const auto removed = std::remove_if(rest, candidates_.end(),
                                        [&](const Candidate& each) { return isOne(each, layer) && place-- != 0; });
    candidates_.resize(static_cast<std::size_t>(removed - candidates_.begin()));
  }
  if (any && type == TriggerType::roundRobin) ++turns_[channel];
}

/// Ends what the starting regions exclude: other voices of their group on the channel, or earlier notes of the key.
void Performer::exclude(uint8_t channel, uint8_t key, const Note& starting) noexcept {
  for (Voice* voice : pool_.voices()) {
    const Note& note = pool_.noteOf(*voice);
    if (&note == &starting || note.channel != channel || note.isAfterthought) continue;
    for (const Candidate& candidate : candidates_) {
      const Zone& zone = *candidate.zone;
      const bool sameGroup =
          zone.isOn(P::keyExclusionGroup) && zone[P::keyExclusionGroup] == voice->zone()[P::keyExclusionGroup];
      const bool sameKey = !zone.isOn(P::keyExclusionGroup) && !zone.isOn(P::noteExclusionMode) && note.key == key;
      if (!sameGroup && !sameKey) continue;
      voice->exclude(context_);
      break;
    }
  }
}

/// A note that is cut off would click; it fades instead, unless too many do so already.
bool Performer::makeRoom(const Note* keep) noexcept {
  while (pool_.isFull())
    if (!pool_.steal(Stealing::soft, context_, keep)) return false;
  return !pool_.isExhausted() || pool_.steal(Stealing::hard, context_, keep);
}

void Performer::startNote(Stroke stroke, Cause cause) noexcept {
  const auto [channel, key, velocity, number] = stroke;
  const SoundInstrument* instrument = instruments_ ? instruments_->find(number) : nullptr;
  if (!instrument) return;
  collectCandidates(*instrument, channel, key, velocity, cause);
  if (candidates_.empty() || !makeRoom(nullptr)) return;
  Note* note = pool_.addNote();
  if (!note) return;
  note->channel = channel, note->key = key, note->velocity = velocity, note->instrument = number;
  note->isKeyDown = cause.isKeyPress;
  note->isAfterthought = note->isReleased = !cause.isKeyPress;
  if (cause.isKeyPress) exclude(channel, key, *note);
  startVoices(*note, keys_[channel].last);
  pool_.dropIfEmpty(*note);
}

/// The master of the region's phase group among those that start with it.
const Zone* Performer::pitchZoneOf(const Zone& zone) const noexcept {
  if (!zone.isOn(P::phaseGroup)) return &zone;
  const Zone* first = &zone;
  bool found = false;
  for (const Candidate& candidate : candidates_) {
    if ((*candidate.zone)[P::phaseGroup] != zone[P::phaseGroup]) continue;
    if (candidate.zone->isOn(P::phaseMaster)) return candidate.zone;
    if (!found) first = candidate.zone;
    found = true;
  }
  return first;
}

void Performer::startVoices(Note& note, int glideFrom) noexcept {
  const Channel& channel = channels_[note.channel];
  const uint32_t noteSeed = random_.next();
  for (const Candidate& candidate : candidates_) {
    if (!makeRoom(&note)) return;
    Voice* voice = pool_.addVoice(note);
    VoiceStart start;
    start.zone = candidate.zone;
    start.pitchZone = pitchZoneOf(*candidate.zone);
    start.channel = &channel;
    start.key = note.key;
    start.velocity = note.velocity;
    start.fade = candidate.fade;
    start.seed = random_.next();
    // Voices whose pitch is locked share what is random in it.
    start.pitchSeed = candidate.zone->isOn(P::phaseGroup) ? noteSeed : start.seed;
    start.glideSeconds = note.isAfterthought || glideFrom < 0 ? 0.0f : channel.portamentoSeconds();
    start.glideFrom = static_cast<float>(glideFrom - note.key);
    start.endsByItself = note.isAfterthought;
    voice->generation = generation;
    voice->start(start, context_);
  }
}

}  // namespace tervo::audio
