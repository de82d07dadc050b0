#include "platform/windows/endpoint_format.h"

#include <cstring>

namespace tervo::platform {
namespace {

// The subformats are the old format tags in front of one fixed identifier.
constexpr GUID subFormat(WORD tag) {
  return {tag, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71}};
}

constexpr WORD pcmTag = 1, floatTag = 3, extensibleTag = 0xFFFE;
constexpr DWORD frontLeft = 1, frontRight = 2, frontCentre = 4;

int bitsOf(AudioCoding coding) {
  return 8 * bytesOf(coding);
}

}  // namespace

WAVEFORMATEXTENSIBLE toWaveFormat(const AudioFormat& format) {
  WAVEFORMATEXTENSIBLE wave{};
  wave.Format.wFormatTag = extensibleTag;
  wave.Format.nChannels = static_cast<WORD>(format.channels);
  wave.Format.nSamplesPerSec = format.sampleRate;
  wave.Format.wBitsPerSample = static_cast<WORD>(8 * format.bytesPerSample);
  wave.Format.nBlockAlign = static_cast<WORD>(format.bytesPerFrame());
  wave.Format.nAvgBytesPerSec = format.sampleRate * wave.Format.nBlockAlign;
  wave.Format.cbSize = sizeof(WAVEFORMATEXTENSIBLE) - sizeof(WAVEFORMATEX);
  wave.Samples.wValidBitsPerSample = static_cast<WORD>(bitsOf(format.coding));
  // More than two channels: in the order of the mask's bits.
  wave.dwChannelMask = format.channels == 1   ? frontCentre
                       : format.channels == 2 ? frontLeft | frontRight
                                              : (DWORD{1} << format.channels) - 1;
  wave.SubFormat = subFormat(format.coding == AudioCoding::float32 ? floatTag : pcmTag);
  return wave;
}

std::optional<AudioFormat> fromWaveFormat(const WAVEFORMATEX& wave) {
  AudioFormat format;
  format.sampleRate = wave.nSamplesPerSec;
  format.channels = wave.nChannels;
  format.bytesPerSample = wave.wBitsPerSample / 8;
  WORD tag = wave.wFormatTag, bits = wave.wBitsPerSample;
  if (tag == extensibleTag) {
    WAVEFORMATEXTENSIBLE extended;
    std::memcpy(&extended, &wave, sizeof extended);
    tag = static_cast<WORD>(extended.SubFormat.Data1);
    if (extended.Samples.wValidBitsPerSample != 0) bits = extended.Samples.wValidBitsPerSample;
  }
  if (tag == floatTag && bits == 32) {
    format.coding = AudioCoding::float32;
  } else if (tag == pcmTag && (bits == 16 || bits == 24 || bits == 32)) {
    format.coding = bits == 16 ? AudioCoding::pcm16 : bits == 24 ? AudioCoding::pcm24 : AudioCoding::pcm32;
  } else {
    return std::nullopt;
  }
  return format;
}

}  // namespace tervo::platform
