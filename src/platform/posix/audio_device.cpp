// Sound devices by RtAudio: PulseAudio (and PipeWire, which speaks its language), JACK, ALSA.

#include "platform/audio_device.h"

#include <RtAudio.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include "base/last_error.h"
#include "platform/audio_backends.h"
#include "platform/posix/quiet_libraries.h"

namespace tervo::platform {
namespace {

struct SoundSystem {
  RtAudio::Api api;
  const char* label;
  bool canBeExclusive;
  bool hasServersThread;  ///< asks for frames in a thread of the server's, else in one of the library's
};

// In this order, the first that has a device has the default one. ALSA's come last: where there is a server, it holds
// them.
constexpr SoundSystem soundSystems[] = {
    {RtAudio::LINUX_PULSE, "PulseAudio", false, false},
    {RtAudio::UNIX_JACK, "JACK", false, true},
    {RtAudio::LINUX_ALSA, "ALSA", true, false},
};

constexpr std::size_t longestName = 64;  // what the settings keep

RtAudioFormat formatOf(AudioCoding coding) {
  constexpr RtAudioFormat formats[] = {RTAUDIO_SINT16, RTAUDIO_SINT24, RTAUDIO_SINT32, RTAUDIO_FLOAT32};
  return formats[static_cast<std::size_t>(coding)];
}

struct FoundDevice {
  const SoundSystem* system;
  unsigned id;
  AudioDeviceInfo info;
};

void addDevices(const SoundSystem& system, std::vector<FoundDevice>& found) {
  RtAudio audio(system.api);
  audio.showWarnings(false);
  // Asked for an interface that the library was built without, it takes another one.
  if (audio.getCurrentApi() != system.api) return;
  for (unsigned id = 0, count = audio.getDeviceCount(); id < count; ++id) {
    const RtAudio::DeviceInfo device = audio.getDeviceInfo(id);
    if (!device.probed || device.outputChannels == 0) continue;
    AudioDeviceInfo info;
    info.name = fromUtf8(std::string(system.label) + ": " + device.name).substr(0, longestName);
    info.isDefault = device.isDefaultOutput;
    info.mixRate = device.preferredSampleRate;
    info.channels = static_cast<int>(std::min(device.outputChannels, 32u));
    info.sampleRates.assign(device.sampleRates.begin(), device.sampleRates.end());
    found.push_back({&system, id, std::move(info)});
  }
}

/// The first default device is the default one of all.
void keepOneDefault(std::vector<FoundDevice>& found) {
  const auto isDefault = [](const FoundDevice& device) { return device.info.isDefault; };
  auto first = std::find_if(found.begin(), found.end(), isDefault);
  if (first == found.end()) first = found.begin();
  for (auto device = found.begin(); device != found.end(); ++device) device->info.isDefault = device == first;
}

std::vector<FoundDevice> findDevices() {
  const QuietLibraries quiet;
  std::vector<FoundDevice> found;
  for (const SoundSystem& system : soundSystems) {
    try {
      addDevices(system, found);
    } catch (const RtAudioError&) {
      // A sound system that is not there has no devices.
    }
  }
  keepOneDefault(found);
  return found;
}

class RtDevice final : public AudioDevice {
 public:
  explicit RtDevice(const SoundSystem& system) : system_(system), audio_(system.api) { audio_.showWarnings(false); }
  ~RtDevice() override { close(); }

  bool openStream(const FoundDevice& device, const AudioRequest& request);
  bool start(std::shared_ptr<AudioClient> client) override;
  bool finish() override;
  bool isLost() const override;

 private:
  static int fill(void* out, void*, unsigned frames, double, RtAudioStreamStatus, void* self);
  static void noteError(RtAudioError::Type type, const std::string& text);
  void drain();
  void close() noexcept;

  // The library's error callback knows no stream: it comes in the thread that had the error.
  static thread_local RtDevice* erring_;
  static thread_local std::string cause_;

  const SoundSystem& system_;
  RtAudio audio_;
  std::shared_ptr<AudioClient> client_;
  std::atomic<bool> draining_{false};
  std::atomic<bool> failed_{false};
  bool started_ = false;
};

thread_local RtDevice* RtDevice::erring_ = nullptr;
thread_local std::string RtDevice::cause_;

void RtDevice::noteError(RtAudioError::Type, const std::string& text) {
  if (erring_) {
    erring_->failed_ = true;
  } else {
    cause_ = text;
  }
}

int RtDevice::fill(void* out, void*, unsigned frames, double, RtAudioStreamStatus, void* self) {
  thread_local const AudioThreadScope scope;
  constexpr int goOn = 0, drain = 1, abort = 2;
  auto& device = *static_cast<RtDevice*>(self);
  erring_ = &device;
  if (device.failed_) return abort;
  device.client_->fill({static_cast<std::byte*>(out), frames * device.format_.bytesPerFrame()});
  return device.draining_ ? drain : goOn;
}

uint32_t nearestRate(const AudioDeviceInfo& device, uint32_t wanted) {
  const auto& rates = device.sampleRates;
  if (std::find(rates.begin(), rates.end(), wanted) != rates.end()) return wanted;
  return device.mixRate > 0 ? device.mixRate : rates.empty() ? 48000 : rates.back();
}

bool RtDevice::openStream(const FoundDevice& device, const AudioRequest& request) {
  format_.sampleRate = nearestRate(device.info, request.sampleRate);
  format_.channels = std::min(request.channels > 0 ? request.channels : device.info.channels, device.info.channels);
  format_.coding = request.coding.value_or(AudioCoding::float32);
  format_.bytesPerSample = bytesOf(format_.coding);
  bufferFrames_ = framesOf(request.bufferSeconds, format_.sampleRate);

  RtAudio::StreamParameters output;
  output.deviceId = device.id;
  output.nChannels = static_cast<unsigned>(format_.channels);
  RtAudio::StreamOptions options;
  options.streamName = "Tervo Studio";
  // PulseAudio stops and starts with fewer.
  options.numberOfBuffers = 4;
  if (request.share == AudioShare::exclusive) options.flags = RTAUDIO_HOG_DEVICE;
  cause_.clear();
  audio_.openStream(&output, nullptr, formatOf(format_.coding), format_.sampleRate, &bufferFrames_, &RtDevice::fill,
                    this, &options, &RtDevice::noteError);
  return audio_.isStreamOpen() || fail(fromUtf8(cause_));
}

bool RtDevice::start(std::shared_ptr<AudioClient> client) {
  const QuietLibraries quiet;
  client_ = std::move(client);
  try {
    audio_.startStream();
  } catch (const RtAudioError& error) {
    return fail(fromUtf8(error.getMessage()));
  }
  started_ = audio_.isStreamRunning();
  return started_ || fail(fromUtf8(cause_));
}

/// A library's thread ends its stream itself: while another one does, it spins for a lock of both, with the priority of
/// sound, and what has been handed over runs dry meanwhile.
void RtDevice::drain() {
  if (system_.hasServersThread) return audio_.stopStream();
  draining_ = true;
  while (audio_.isStreamRunning()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  audio_.closeStream();  // joins the thread, which plays what it has
}

bool RtDevice::finish() {
  const QuietLibraries quiet;
  const bool wasLost = isLost();
  try {
    if (!wasLost) drain();
  } catch (const RtAudioError&) {
    failed_ = true;
  }
  started_ = false;
  return (!wasLost && !failed_) || fail(u"The audio device was lost");
}

bool RtDevice::isLost() const {
  return failed_ || (started_ && !audio_.isStreamRunning());
}

void RtDevice::close() noexcept {
  const QuietLibraries quiet;
  if (audio_.isStreamOpen()) audio_.closeStream();
}

std::unique_ptr<AudioDevice> openFound(const FoundDevice& found, const AudioRequest& request) {
  if (request.share == AudioShare::exclusive && !found.system->canBeExclusive)
    return fail(u"Could not enable audio device exclusive mode");
  const QuietLibraries quiet;
  try {
    auto device = std::make_unique<RtDevice>(*found.system);
    if (!device->openStream(found, request)) return nullptr;
    return device;
  } catch (const RtAudioError& error) {
    return fail(fromUtf8(error.getMessage()));
  }
}

}  // namespace

std::vector<AudioDeviceInfo> audioDevices() {
  std::vector<AudioDeviceInfo> devices;
  for (FoundDevice& found : findDevices()) devices.push_back(std::move(found.info));
  return devices;
}

std::unique_ptr<AudioDevice> openSystemDevice(const AudioRequest& request) {
  const std::vector<FoundDevice> found = findDevices();
  const auto device = std::find_if(found.begin(), found.end(), [&](const FoundDevice& each) {
    return request.device.empty() ? each.info.isDefault : each.info.name == request.device;
  });
  if (device == found.end()) return fail(u"There is no such audio device");
  return openFound(*device, request);
}

}  // namespace tervo::platform
