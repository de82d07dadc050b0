#include "audio/output/output_format.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tervo::audio {

using platform::AudioCoding;

AudioCoding codingOf(uint8_t code) {
  constexpr uint8_t floats = 255;
  if (code == floats) return AudioCoding::float32;
  return code == 16 ? AudioCoding::pcm16 : code == 32 ? AudioCoding::pcm32 : AudioCoding::pcm24;
}

TextView nameOf(AudioCoding coding) {
  constexpr TextView names[] = {u"16-bit PCM", u"24-bit PCM", u"32-bit PCM", u"Floats"};
  return names[static_cast<std::size_t>(coding)];
}

Text formatText(const platform::AudioFormat& format) {
  return fromUtf8(
      fmt::format("--> {} Hz - {} channels - {}", format.sampleRate, format.channels, toUtf8(nameOf(format.coding))));
}

Text rateText(uint32_t sampleRate) {
  return fromUtf8(fmt::format("{} Hz", sampleRate));
}

Text channelsText(int channels) {
  return fromUtf8(fmt::format("{} chs", channels));
}

std::vector<Text> outputListTexts(const std::vector<platform::AudioDeviceInfo>& devices) {
  if (devices.empty()) return {u"<no audio output>"};
  std::vector<Text> texts;
  for (const auto& device : devices) texts.push_back(device.name);
  return texts;
}

std::vector<Text> midiListTexts(const std::vector<Text>& ports) {
  std::vector<Text> texts = {Text(noMidiDevice)};
  texts.insert(texts.end(), ports.begin(), ports.end());
  return texts;
}

platform::VolumeRange volumeRangeOf(const platform::AudioDevice& device) {
  return device.volumeRange().value_or(platform::VolumeRange{-48.0f, 0.0f, 0.5f});
}

platform::AudioRequest outputRequest(const Settings::Aio& settings) {
  static const Settings::Aio standard = Settings().aio;
  platform::AudioRequest request;
  if (settings.audioOutDev != defaultAudioDevice) request.device = settings.audioOutDev;
  if (settings.audioOutExclusive) request.share = platform::AudioShare::exclusive;
  if (settings.latency > 0) request.bufferSeconds = std::min(settings.latency, 2000) / 1000.0;
  const bool isCustom = settings.audioOutSampleRate != standard.audioOutSampleRate ||
                        settings.audioOutChannels != standard.audioOutChannels ||
                        settings.audioOutFormat != standard.audioOutFormat;
  if (!isCustom) return request;
  request.sampleRate = settings.audioOutSampleRate;
  request.channels = settings.audioOutChannels;
  request.coding = codingOf(settings.audioOutFormat);
  return request;
}

float gainOf(float decibels) {
  return decibels <= -96 ? 0.0f : static_cast<float>(std::pow(10.0, static_cast<double>(decibels) / 20));
}

}  // namespace tervo::audio
