// MIDI ports by RtMidi: ALSA's sequencer and JACK.

#include "platform/midi_port.h"

#include <RtMidi.h>

#include <string>

#include "base/last_error.h"
#include "platform/midi_backends.h"
#include "platform/posix/quiet_libraries.h"

namespace tervo::platform {
namespace {

struct MidiSystem {
  RtMidi::Api api;
  const char* label;
};

constexpr MidiSystem midiSystems[] = {{RtMidi::LINUX_ALSA, "ALSA"}, {RtMidi::UNIX_JACK, "JACK"}};
constexpr const char* clientName = "Tervo Studio";

/// Without it the library tells the terminal.
void ignoreError(RtMidiError::Type, const std::string&, void*) {}

/// Null where the system is not there.
template <typename Port>
std::unique_ptr<Port> makePort(const MidiSystem& system) {
  try {
    auto port = std::make_unique<Port>(system.api, clientName);
    if (port->getCurrentApi() != system.api) return nullptr;
    port->setErrorCallback(&ignoreError);
    return port;
  } catch (const RtMidiError&) {
    return nullptr;
  }
}

template <typename Port>
Text nameOf(Port& port, const MidiSystem& system, unsigned index) {
  return fromUtf8(std::string(system.label) + ": " + port.getPortName(index));
}

template <typename Port>
std::vector<Text> portNames() {
  const QuietLibraries quiet;
  std::vector<Text> names;
  for (const MidiSystem& system : midiSystems) {
    const auto port = makePort<Port>(system);
    for (unsigned i = 0, count = port ? port->getPortCount() : 0; i < count; ++i)
      names.push_back(nameOf(*port, system, i));
  }
  return names;
}

/// The settings keep the first characters of a name.
bool isMeant(TextView name, TextView wanted) {
  constexpr std::size_t kept = 32;
  return name == wanted || (wanted.size() >= kept - 1 && name.starts_with(wanted));
}

/// A connected port; null with LastErrorText.
template <typename Port>
std::unique_ptr<Port> connected(TextView wanted) {
  for (const MidiSystem& system : midiSystems) {
    auto port = makePort<Port>(system);
    for (unsigned i = 0, count = port ? port->getPortCount() : 0; i < count; ++i) {
      if (!isMeant(nameOf(*port, system, i), wanted)) continue;
      port->openPort(i, clientName);
      if (port->isPortOpen()) return port;
    }
  }
  return fail(u"Could not open the MIDI port");
}

class RtInput final : public MidiInput {
 public:
  RtInput(std::unique_ptr<RtMidiIn> port, MidiReceiver receiver)
      : port_(std::move(port)), receiver_(std::move(receiver)) {
    port_->ignoreTypes(false, true, true);  // system-exclusive messages are wanted, clock and active sensing are not
    port_->setCallback(&RtInput::receive, this);
  }
  ~RtInput() override {
    port_->closePort();
    port_->cancelCallback();
  }

 private:
  static void receive(double, std::vector<unsigned char>* message, void* self) {
    if (message && !message->empty()) static_cast<RtInput*>(self)->receiver_(*message);
  }

  std::unique_ptr<RtMidiIn> port_;
  MidiReceiver receiver_;
};

class RtOutput final : public MidiOutput {
 public:
  explicit RtOutput(std::unique_ptr<RtMidiOut> port) : port_(std::move(port)) {}

  bool send(std::span<const uint8_t> message) override {
    try {
      port_->sendMessage(message.data(), message.size());
      return true;
    } catch (const RtMidiError& error) {
      return fail(fromUtf8(error.getMessage()));
    }
  }

 private:
  std::unique_ptr<RtMidiOut> port_;
};

}  // namespace

std::vector<Text> midiInputs() {
  return portNames<RtMidiIn>();
}
std::vector<Text> midiOutputs() {
  return portNames<RtMidiOut>();
}

std::unique_ptr<MidiInput> openSystemInput(TextView name, MidiReceiver receiver) {
  const QuietLibraries quiet;
  auto port = connected<RtMidiIn>(name);
  return port ? std::make_unique<RtInput>(std::move(port), std::move(receiver)) : nullptr;
}

std::unique_ptr<MidiOutput> openSystemOutput(TextView name) {
  const QuietLibraries quiet;
  auto port = connected<RtMidiOut>(name);
  return port ? std::make_unique<RtOutput>(std::move(port)) : nullptr;
}

}  // namespace tervo::platform
