#pragma once
// MIDI ports: messages from a keyboard, and messages to whatever plays them. Beside the system's ports (RtMidi on
// Linux, winmm on Windows) there is "null", which takes everything and says nothing, and "file:PATH", which writes the
// bytes of all messages into a file, or reads them from one and delivers them at once.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "base/text.h"

namespace tervo::platform {

/// Names of the ports that there are; none is an ordinary state.
std::vector<Text> midiInputs();
std::vector<Text> midiOutputs();

/// Gets each message whole, with its status byte: channel messages, and system-exclusive ones from 0xF0 to 0xF7. Called
/// in a thread of the port's own.
using MidiReceiver = std::function<void(std::span<const uint8_t> message)>;

/// An open input. Once it is destroyed, its receiver is not called any more.
class MidiInput {
 public:
  /// Null with LastErrorText.
  static std::unique_ptr<MidiInput> open(TextView name, MidiReceiver receiver);
  virtual ~MidiInput() = default;
};

/// An open output. Belongs to one thread at a time.
class MidiOutput {
 public:
  /// Null with LastErrorText.
  static std::unique_ptr<MidiOutput> open(TextView name);
  virtual ~MidiOutput() = default;

  /// A channel message of 1 to 3 bytes, or a system-exclusive one from 0xF0 to 0xF7 of any length: returns when it has
  /// been handed over. False with LastErrorText.
  virtual bool send(std::span<const uint8_t> message) = 0;
  /// Behind the last message: a file is in its place only then. False with LastErrorText.
  virtual bool finish() { return true; }
};

}  // namespace tervo::platform
