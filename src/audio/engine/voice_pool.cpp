#include "audio/engine/voice_pool.h"

#include <algorithm>

namespace tervo::audio {
namespace {

constexpr std::size_t mostFading = 64;

}  // namespace

VoicePool::VoicePool(std::size_t voices)
    : limit_(voices), voicePool_(voices + std::min(voices, mostFading)), notes_(capacity()), scores_(capacity()) {
  voiceOrder_.reserve(capacity());
  noteOrder_.reserve(capacity());
  freeNotes_.reserve(capacity());
  clear();
}

void VoicePool::clear() noexcept {
  voiceOrder_.clear();
  for (Voice& voice : voicePool_) voiceOrder_.push_back(&voice);
  voiceCount_ = 0;
  noteOrder_.clear();
  freeNotes_.clear();
  for (std::size_t i = notes_.size(); i > 0; --i) freeNotes_.push_back(static_cast<uint16_t>(i - 1));
}

Note* VoicePool::addNote() noexcept {
  if (freeNotes_.empty()) return nullptr;
  const uint16_t index = freeNotes_.back();
  freeNotes_.pop_back();
  noteOrder_.push_back(index);
  notes_[index] = {};
  return &notes_[index];
}

Voice* VoicePool::addVoice(Note& note) noexcept {
  if (isExhausted()) return nullptr;
  Voice* voice = voiceOrder_[voiceCount_++];
  voice->note = static_cast<uint16_t>(&note - notes_.data());
  ++note.voices;
  return voice;
}

void VoicePool::compact() noexcept {
  // Active voices keep their order; the free ones gather behind them.
  std::size_t kept = 0;
  for (std::size_t i = 0; i < voiceCount_; ++i)
    if (notes_[voiceOrder_[i]->note].voices > 0 && !voiceOrder_[i]->isDone()) {
      std::swap(voiceOrder_[kept], voiceOrder_[i]);
      ++kept;
    }
  voiceCount_ = kept;
  std::size_t keptNotes = 0;
  for (const uint16_t index : noteOrder_) {
    if (notes_[index].voices > 0)
      noteOrder_[keptNotes++] = index;
    else
      freeNotes_.push_back(index);
  }
  noteOrder_.resize(keptNotes);
}

void VoicePool::collect() noexcept {
  bool any = false;
  for (Voice* voice : voices()) {
    if (!voice->isDone()) continue;
    --notes_[voice->note].voices;
    any = true;
  }
  if (any) compact();
}

void VoicePool::remove(const Note& note) noexcept {
  notes_[static_cast<std::size_t>(&note - notes_.data())].voices = 0;
  compact();
}

void VoicePool::dropIfEmpty(Note& note) noexcept {
  if (note.voices == 0) compact();
}

bool VoicePool::steal(Stealing stealing, const VoiceContext& context, const Note* keep) noexcept {
  for (const uint16_t index : noteOrder_) scores_[index] = 0;
  for (const Voice* voice : voices())
    scores_[voice->note] =
        std::max(scores_[voice->note], static_cast<uint32_t>(std::min(voice->level(), 65535.0f) * 65536));
  Note* winner = nullptr;
  uint32_t best = 0;
  for (const uint16_t index : noteOrder_) {
    Note& note = notes_[index];
    if (&note == keep || (stealing == Stealing::soft && note.fastRelease)) continue;
    if (winner && scores_[index] >= best) continue;
    winner = &note;
    best = scores_[index];
  }
  if (!winner) return false;
  if (stealing == Stealing::hard) {
    remove(*winner);
    return true;
  }
  winner->fastRelease = true;
  winner->isKeyDown = false;
  winner->isReleased = true;
  forEachVoice(*winner, [&](Voice& voice) { voice.shed(context); });
  return true;
}

}  // namespace tervo::audio
