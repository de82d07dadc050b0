#include "platform/audio_device.h"

#include <algorithm>
#include <cmath>

#include "platform/audio_backends.h"

namespace tervo::platform {

int bytesOf(AudioCoding coding) {
  return coding == AudioCoding::pcm16 ? 2 : coding == AudioCoding::pcm24 ? 3 : 4;
}

uint32_t framesOf(double seconds, uint32_t sampleRate) {
  constexpr double fewest = 16, most = 1 << 20;
  return static_cast<uint32_t>(std::clamp(std::round(seconds * sampleRate), fewest, most));
}

std::unique_ptr<AudioDevice> AudioDevice::open(const AudioRequest& request) {
  const TextView name = request.device;
  if (name == nullDeviceName) return openNullDevice(request);
  if (name.starts_with(fileDevicePrefix)) return openFileDevice(request, name.substr(fileDevicePrefix.size()));
  return openSystemDevice(request);
}

}  // namespace tervo::platform
