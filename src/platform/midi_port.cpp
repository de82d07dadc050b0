#include "platform/midi_port.h"

#include "base/last_error.h"
#include "platform/audio_device.h"
#include "platform/file.h"
#include "platform/midi_backends.h"

namespace tervo::platform {
namespace {

constexpr uint8_t exclusiveStart = 0xF0, exclusiveEnd = 0xF7, firstRealTime = 0xF8;

class NullInput final : public MidiInput {};

class NullOutput final : public MidiOutput {
 public:
  bool send(std::span<const uint8_t>) override { return true; }
};

class FileOutput final : public MidiOutput {
 public:
  explicit FileOutput(std::unique_ptr<OutputFile> file) : file_(std::move(file)) {}
  bool send(std::span<const uint8_t> message) override { return file_->write(std::as_bytes(message)); }
  bool finish() override { return file_->commit(); }

 private:
  std::unique_ptr<OutputFile> file_;
};

std::size_t dataBytes(uint8_t status) {
  const int kind = status & 0xF0;
  if (kind == 0xC0 || kind == 0xD0 || status == 0xF1 || status == 0xF3) return 1;
  return status < exclusiveStart || status == 0xF2 ? 2 : 0;
}

std::unique_ptr<MidiInput> openFileInput(TextView path, const MidiReceiver& receiver) {
  constexpr std::size_t mostBytes = 16 << 20;
  const auto file = InputFile::open(path);
  if (!file) return nullptr;
  const std::vector<std::byte> bytes = file->readUpTo(0, file->size(), mostBytes);
  MidiAssembler(receiver).take({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
  return std::make_unique<NullInput>();
}

}  // namespace

void MidiAssembler::take(std::span<const uint8_t> bytes) {
  for (const uint8_t byte : bytes) take(byte);
}

void MidiAssembler::take(uint8_t byte) {
  if (byte >= firstRealTime) return receiver_(std::span(&byte, 1));
  const bool isExclusive = !message_.empty() && message_[0] == exclusiveStart;
  if (byte >= 0x80 && !(isExclusive && byte == exclusiveEnd)) {
    // A status byte ends what was begun, whole or not. Only channel messages run on.
    message_.assign(1, byte);
    running_ = byte < exclusiveStart ? byte : uint8_t{0};
    if (byte == exclusiveStart || dataBytes(byte) > 0) return;
  } else {
    if (message_.empty() && running_ != 0) message_.assign(1, running_);
    if (message_.empty()) return;
    message_.push_back(byte);
    const bool isWhole = isExclusive ? byte == exclusiveEnd : message_.size() > dataBytes(message_[0]);
    if (!isWhole) return;
  }
  receiver_(message_);
  message_.clear();
}

std::unique_ptr<MidiInput> MidiInput::open(TextView name, MidiReceiver receiver) {
  if (name == nullDeviceName) return std::make_unique<NullInput>();
  if (name.starts_with(fileDevicePrefix)) return openFileInput(name.substr(fileDevicePrefix.size()), receiver);
  return openSystemInput(name, std::move(receiver));
}

std::unique_ptr<MidiOutput> MidiOutput::open(TextView name) {
  if (name == nullDeviceName) return std::make_unique<NullOutput>();
  if (!name.starts_with(fileDevicePrefix)) return openSystemOutput(name);
  auto file = OutputFile::create(name.substr(fileDevicePrefix.size()), Replace::allowed);
  return file ? std::make_unique<FileOutput>(std::move(file)) : nullptr;
}

}  // namespace tervo::platform
