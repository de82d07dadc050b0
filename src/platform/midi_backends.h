#pragma once
// Inside platform/: what MidiInput::open() and MidiOutput::open() choose from.

#include "platform/midi_port.h"

namespace tervo::platform {

/// The system's ports.
std::unique_ptr<MidiInput> openSystemInput(TextView name, MidiReceiver receiver);
std::unique_ptr<MidiOutput> openSystemOutput(TextView name);

/// Puts the bytes of a cable together: gives the receiver whole messages. Running status is filled in, real-time
/// messages may stand inside others.
class MidiAssembler {
 public:
  explicit MidiAssembler(MidiReceiver receiver) : receiver_(std::move(receiver)) {}
  void take(std::span<const uint8_t> bytes);

 private:
  void take(uint8_t byte);

  MidiReceiver receiver_;
  std::vector<uint8_t> message_;
  uint8_t running_ = 0;
};

}  // namespace tervo::platform
