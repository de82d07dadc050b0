#pragma once
// The voices and the notes that own them: records that exist from the start and are handed out. Audio thread.

#include <algorithm>
#include <span>
#include <vector>

#include "audio/engine/voice.h"

namespace tervo::audio {

struct Note {
  uint8_t channel = 0;
  uint8_t key = 0;
  uint8_t velocity = 0;
  uint32_t instrument = 0;      ///< the number that its key has started
  bool isKeyDown = false;       ///< nobody has lifted it yet
  bool isHeld = false;          ///< by the sostenuto pedal
  bool isReleased = false;      ///< its voices are in their release
  bool isAfterthought = false;  ///< started by a key release or a pedal: there is no key to lift
  bool fastRelease = false;
  int voices = 0;
};

enum class Stealing : uint8_t { soft, hard };

class VoicePool {
 public:
  /// So many may sound at once; further ones let those that are stolen fade.
  explicit VoicePool(std::size_t voices);

  /// A note record at the end of the list; null while all are in use. It goes again with its last voice.
  Note* addNote() noexcept;
  /// A voice of the note, not started yet; null while all are in use.
  Voice* addVoice(Note& note) noexcept;
  /// Takes back a note that got no voice.
  void dropIfEmpty(Note& note) noexcept;
  /// Takes back the voices that are done, and the notes without voices.
  void collect() noexcept;
  void clear() noexcept;

  /// Ends the quietest note but `keep`, the first one of several. False when there is none.
  bool steal(Stealing stealing, const VoiceContext& context, const Note* keep = nullptr) noexcept;

  /// In the order in which they started.
  std::span<Voice* const> voices() const { return {voiceOrder_.data(), voiceCount_}; }
  std::size_t noteCount() const { return noteOrder_.size(); }
  Note& noteAt(std::size_t place) { return notes_[noteOrder_[place]]; }
  Note& noteOf(const Voice& voice) { return notes_[voice.note]; }
  std::size_t capacity() const { return voicePool_.size(); }
  /// All sound that may, not counting those that were stolen.
  bool isFull() const {
    const auto all = voices();
    const auto isFading = [](const Voice* voice) { return voice->fastRelease; };
    return all.size() >= limit_ &&
           all.size() - static_cast<std::size_t>(std::count_if(all.begin(), all.end(), isFading)) >= limit_;
  }
  bool isExhausted() const { return voiceCount_ == capacity(); }

  template <typename Use>
  void forEachVoice(const Note& note, const Use& use) {
    for (Voice* voice : voices())
      if (&notes_[voice->note] == &note) use(*voice);
  }

 private:
  void remove(const Note& note) noexcept;
  void compact() noexcept;

  std::size_t limit_;
  std::vector<Voice> voicePool_;
  std::vector<Voice*> voiceOrder_;  ///< the active ones, then free ones
  std::size_t voiceCount_ = 0;
  std::vector<Note> notes_;
  std::vector<uint16_t> noteOrder_;
  std::vector<uint16_t> freeNotes_;
  std::vector<uint32_t> scores_;  ///< by note, while one is looked for
};

}  // namespace tervo::audio
