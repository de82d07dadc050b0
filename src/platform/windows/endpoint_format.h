#pragma once
// Inside platform/windows/: formats as the endpoint interface takes them.

#include <windows.h>

#include <mmreg.h>

#include <optional>

#include "platform/audio_device.h"

namespace tervo::platform {

WAVEFORMATEXTENSIBLE toWaveFormat(const AudioFormat& format);
/// Nothing for formats that no AudioCoding names.
std::optional<AudioFormat> fromWaveFormat(const WAVEFORMATEX& format);

}  // namespace tervo::platform
