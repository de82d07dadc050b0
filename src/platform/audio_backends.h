#pragma once
// Inside platform/: what AudioDevice::open() chooses from.

#include "platform/audio_device.h"
#include "platform/thread.h"

namespace tervo::platform {

/// One of the system's devices.
std::unique_ptr<AudioDevice> openSystemDevice(const AudioRequest& request);
std::unique_ptr<AudioDevice> openNullDevice(const AudioRequest& request);
std::unique_ptr<AudioDevice> openFileDevice(const AudioRequest& request, TextView path);

/// What an audio thread does first.
struct AudioThreadScope {
  AudioThreadScope() { setThreadRole(ThreadRole::audio); }
  AudioPriority priority;
};

/// Frames of a buffer that lasts so long.
uint32_t framesOf(double seconds, uint32_t sampleRate);

}  // namespace tervo::platform
