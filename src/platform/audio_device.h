#pragma once
// Sound devices: what plays frames. The system's own devices (RtAudio on Linux, the endpoint interface on Windows), and
// two that are always there: "null" plays to nobody at the speed of sound devices, "file:PATH" writes a WAV file.
// A device asks its client for the bytes of one buffer after another, in a thread of its own.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/text.h"

namespace tervo::platform {

enum class AudioCoding : uint8_t { pcm16, pcm24, pcm32, float32 };

/// How a device wants its frames: interleaved little-endian samples.
struct AudioFormat {
  uint32_t sampleRate = 0;  ///< Hz
  int channels = 2;
  AudioCoding coding = AudioCoding::float32;
  int bytesPerSample = 4;  ///< 24-bit samples may stand in the top of four bytes

  std::size_t bytesPerFrame() const { return static_cast<std::size_t>(channels * bytesPerSample); }
};

/// The coding's own size in bytes.
int bytesOf(AudioCoding coding);

enum class AudioShare : uint8_t { shared, exclusive };
enum class AudioPace : uint8_t { asItSounds, asFastAsItGoes };

/// What to open. A device that cannot do what is asked for takes what comes next to it, and says so in its format.
struct AudioRequest {
  Text device;                        ///< a name of audioDevices(), "null" or "file:PATH"; empty: the default one
  uint32_t sampleRate = 0;            ///< Hz; 0: the rate at which the device mixes
  int channels = 2;                   ///< 0: as many as the device mixes
  std::optional<AudioCoding> coding;  ///< nothing: what suits the device
  AudioShare share = AudioShare::shared;
  double bufferSeconds = 0.01;
  AudioPace pace = AudioPace::asItSounds;  ///< of a file: the other devices cannot choose
};

/// Who is played.
class AudioClient {
 public:
  virtual ~AudioClient() = default;
  /// Fills the whole buffer, with silence where nothing plays, and returns how many frames there are up to the end of
  /// the last sound: 0 when nothing plays. Audio thread: must not wait for anything.
  virtual std::size_t fill(std::span<std::byte> buffer) noexcept = 0;
};

/// Decibels that a device's own volume may be set to.
struct VolumeRange {
  float lowest;
  float highest;
  float step;
};

/// An open device. Document thread.
class AudioDevice {
 public:
  /// Null with LastErrorText: "Could not enable audio device exclusive mode", else what the system said.
  static std::unique_ptr<AudioDevice> open(const AudioRequest& request);

  /// Stops at once; what has been handed over and not played yet is dropped.
  virtual ~AudioDevice() = default;

  const AudioFormat& format() const { return format_; }
  uint32_t bufferFrames() const { return bufferFrames_; }

  /// The device holds its client until it is closed. False with LastErrorText.
  virtual bool start(std::shared_ptr<AudioClient> client) = 0;
  /// Stops once everything that has been handed over is played. False with LastErrorText when it could not be.
  virtual bool finish() = 0;
  /// The device has gone (unplugged, its server ended); the client is not asked any more.
  virtual bool isLost() const = 0;
  /// Asks for frames at the speed at which they sound, and not for more.
  virtual bool keepsTime() const { return true; }
  /// Nothing when the device does not say.
  virtual std::optional<VolumeRange> volumeRange() const { return std::nullopt; }

 protected:
  AudioFormat format_;
  uint32_t bufferFrames_ = 0;
};

struct AudioDeviceInfo {
  Text name;
  bool isDefault = false;
  uint32_t mixRate = 0;  ///< Hz
  int channels = 0;
  std::vector<uint32_t> sampleRates;  ///< Hz, as far as the device says
};

/// The system's devices; none is an ordinary state.
std::vector<AudioDeviceInfo> audioDevices();

inline constexpr TextView nullDeviceName = u"null", fileDevicePrefix = u"file:";

}  // namespace tervo::platform
