// MIDI ports of Windows' multimedia interface (winmm).

#include "platform/midi_port.h"

#include <windows.h>

#include <mmsystem.h>

#include <array>
#include <atomic>

#include "base/last_error.h"
#include "platform/midi_backends.h"
#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

constexpr DWORD pollPause = 1;        // milliseconds
constexpr int longestClosing = 2000;  // pauses: a driver that keeps its buffers must not keep the program

Text inputName(UINT index) {
  MIDIINCAPSW caps{};
  return midiInGetDevCapsW(index, &caps, sizeof caps) == MMSYSERR_NOERROR ? fromWide(caps.szPname) : Text();
}
Text outputName(UINT index) {
  MIDIOUTCAPSW caps{};
  return midiOutGetDevCapsW(index, &caps, sizeof caps) == MMSYSERR_NOERROR ? fromWide(caps.szPname) : Text();
}

std::vector<Text> names(UINT count, Text (*nameOf)(UINT)) {
  std::vector<Text> result;
  for (UINT i = 0; i < count; ++i) result.push_back(nameOf(i));
  return result;
}

constexpr TextView openFailure = u"Could not open the MIDI port";

class WinmmInput final : public MidiInput {
 public:
  explicit WinmmInput(MidiReceiver receiver) : assembler_(std::move(receiver)) {}
  ~WinmmInput() override { close(); }

  bool openPort(UINT index) {
    const auto self = reinterpret_cast<DWORD_PTR>(this);
    if (midiInOpen(&port_, index, reinterpret_cast<DWORD_PTR>(&WinmmInput::receive), self, CALLBACK_FUNCTION) !=
        MMSYSERR_NOERROR)
      return fail(openFailure);
    for (Buffer& buffer : buffers_) {
      buffer.header.lpData = buffer.bytes.data();
      buffer.header.dwBufferLength = static_cast<DWORD>(buffer.bytes.size());
      if (midiInPrepareHeader(port_, &buffer.header, sizeof buffer.header) != MMSYSERR_NOERROR)
        return fail(openFailure);
      ++queued_;
      if (midiInAddBuffer(port_, &buffer.header, sizeof buffer.header) != MMSYSERR_NOERROR) {
        --queued_;
        return fail(openFailure);
      }
    }
    return midiInStart(port_) == MMSYSERR_NOERROR || fail(openFailure);
  }

 private:
  /// For system-exclusive messages.
  struct Buffer {
    MIDIHDR header{};
    std::array<char, 4096> bytes;
  };

  static void CALLBACK receive(HMIDIIN, UINT message, DWORD_PTR self, DWORD_PTR first, DWORD_PTR) {
    auto& input = *reinterpret_cast<WinmmInput*>(self);
    if (message == MIM_DATA) input.takeShort(static_cast<uint32_t>(first));
    if (message == MIM_LONGDATA || message == MIM_LONGERROR) input.takeBuffer(*reinterpret_cast<MIDIHDR*>(first));
  }

  void takeShort(uint32_t packed) {
    const uint8_t bytes[] = {static_cast<uint8_t>(packed), static_cast<uint8_t>(packed >> 8),
                             static_cast<uint8_t>(packed >> 16)};
    const int kind = bytes[0] & 0xF0;
    if (bytes[0] < 0xF0) assembler_.take(std::span(bytes).first(kind == 0xC0 || kind == 0xD0 ? 2 : 3));
  }

  void takeBuffer(MIDIHDR& header) {
    if (header.dwBytesRecorded > 0 && !closing_)
      assembler_.take({reinterpret_cast<const uint8_t*>(header.lpData), header.dwBytesRecorded});
    // While the port closes, all buffers come back.
    if (closing_ || midiInAddBuffer(port_, &header, sizeof header) != MMSYSERR_NOERROR) --queued_;
  }

  void close() {
    if (!port_) return;
    closing_ = true;
    midiInStop(port_);
    midiInReset(port_);
    for (int i = 0; queued_ > 0 && i < longestClosing; ++i) Sleep(pollPause);
    for (Buffer& buffer : buffers_) midiInUnprepareHeader(port_, &buffer.header, sizeof buffer.header);
    midiInClose(port_);
  }

  MidiAssembler assembler_;
  HMIDIIN port_ = nullptr;
  std::array<Buffer, 4> buffers_;
  std::atomic<int> queued_{0};
  std::atomic<bool> closing_{false};
};

class WinmmOutput final : public MidiOutput {
 public:
  explicit WinmmOutput(HMIDIOUT port) : port_(port) {}
  ~WinmmOutput() override {
    midiOutReset(port_);
    midiOutClose(port_);
  }

  bool send(std::span<const uint8_t> message) override {
    const bool isShort = message.size() <= 3 && !message.empty() && message[0] != 0xF0;
    return (isShort ? sendShort(message) : sendLong(message)) || fail(u"The MIDI port takes no more");
  }

 private:
  bool sendShort(std::span<const uint8_t> message) {
    DWORD packed = 0;
    for (std::size_t i = 0; i < message.size(); ++i) packed |= DWORD{message[i]} << (8 * i);
    return midiOutShortMsg(port_, packed) == MMSYSERR_NOERROR;
  }

  bool sendLong(std::span<const uint8_t> message) {
    std::vector<char> bytes(message.begin(), message.end());
    MIDIHDR header{};
    header.lpData = bytes.data();
    header.dwBufferLength = header.dwBytesRecorded = static_cast<DWORD>(bytes.size());
    if (midiOutPrepareHeader(port_, &header, sizeof header) != MMSYSERR_NOERROR) return false;
    const bool sent = midiOutLongMsg(port_, &header, sizeof header) == MMSYSERR_NOERROR;
    const volatile DWORD& flags = header.dwFlags;  // the driver sets them in a thread of its own
    while (sent && (flags & MHDR_DONE) == 0) Sleep(pollPause);
    midiOutUnprepareHeader(port_, &header, sizeof header);
    return sent;
  }

  HMIDIOUT port_;
};

}  // namespace

std::vector<Text> midiInputs() {
  return names(midiInGetNumDevs(), inputName);
}
std::vector<Text> midiOutputs() {
  return names(midiOutGetNumDevs(), outputName);
}

std::unique_ptr<MidiInput> openSystemInput(TextView name, MidiReceiver receiver) {
  for (UINT i = 0; i < midiInGetNumDevs(); ++i) {
    if (inputName(i) != name) continue;
    auto input = std::make_unique<WinmmInput>(std::move(receiver));
    if (!input->openPort(i)) return nullptr;
    return input;
  }
  return fail(openFailure);
}

std::unique_ptr<MidiOutput> openSystemOutput(TextView name) {
  for (UINT i = 0; i < midiOutGetNumDevs(); ++i) {
    HMIDIOUT port = nullptr;
    if (outputName(i) == name && midiOutOpen(&port, i, 0, 0, CALLBACK_NULL) == MMSYSERR_NOERROR)
      return std::make_unique<WinmmOutput>(port);
  }
  return fail(openFailure);
}

}  // namespace tervo::platform
