#pragma once
// What the settings say about the output device, and how it is shown.

#include "core/settings.h"
#include "platform/audio_device.h"

namespace tervo::audio {

/// Codes of sample codings in the settings: 16, 24 and 32 bits of PCM, 255 floats. What is none of them counts as 24.
platform::AudioCoding codingOf(uint8_t code);
/// "16-bit PCM", "24-bit PCM", "32-bit PCM", "Floats".
TextView nameOf(platform::AudioCoding coding);

/// "--> 48000 Hz - 2 channels - Floats".
Text formatText(const platform::AudioFormat& format);
/// Entries of the lists from which rate and channel count are chosen: "48000 Hz", "2 chs".
Text rateText(uint32_t sampleRate);
Text channelsText(int channels);

/// Entries of the list of output devices, in the order of the devices; "<no audio output>" alone where there is none.
std::vector<Text> outputListTexts(const std::vector<platform::AudioDeviceInfo>& devices);
/// Entries of a list of MIDI ports: "<none>" for no choice, then the ports.
std::vector<Text> midiListTexts(const std::vector<Text>& ports);

/// What the device's volume can be set to: -48 dB to 0 dB in steps of 0.5 dB where it does not say.
platform::VolumeRange volumeRangeOf(const platform::AudioDevice& device);

/// The device and format of the settings. Two channels at the device's own rate, unless a format was chosen: as soon as
/// one of rate, channels and coding is not the default, all three are meant.
platform::AudioRequest outputRequest(const Settings::Aio& settings);

/// A level in decibels as a factor; 0 from -96 dB down.
float gainOf(float decibels);

}  // namespace tervo::audio
