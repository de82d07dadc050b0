#include "audio/output/mixer.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "dsp/channel_kernels.h"
#include "dsp/sample_kernels.h"

namespace tervo::audio {
namespace {

dsp::SampleWord wordOf(const platform::AudioFormat& format) {
  switch (format.coding) {
    case platform::AudioCoding::pcm16:
      return dsp::SampleWord::s16;
    case platform::AudioCoding::pcm24:
      return format.bytesPerSample == 4 ? dsp::SampleWord::s24in32 : dsp::SampleWord::s24;
    case platform::AudioCoding::pcm32:
      return dsp::SampleWord::s32;
    default:
      return dsp::SampleWord::f32;
  }
}

}  // namespace

Mixer::Mixer(const platform::AudioFormat& format, uint32_t bufferFrames)
    : format_(format),
      mix_(std::size_t{2} * bufferFrames),
      part_(std::size_t{2} * bufferFrames),
      frames_(static_cast<std::size_t>(format.channels) * bufferFrames) {}

bool Mixer::attach(AudioSource& source) {
  for (auto& slot : sources_) {
    AudioSource* none = nullptr;
    if (slot.compare_exchange_strong(none, &source)) return true;
  }
  return false;
}

void Mixer::detach(const AudioSource& source) {
  for (auto& slot : sources_)
    if (slot == &source) slot = nullptr;
  // A buffer that was begun before may still use it; a later one does not see it.
  const uint32_t turn = turn_;
  while (turn % 2 == 1 && turn_ == turn) std::this_thread::sleep_for(std::chrono::microseconds(200));
}

std::size_t Mixer::mix(std::size_t frames) noexcept {
  const std::span<float> mixed(mix_.data(), 2 * frames), part(part_.data(), 2 * frames);
  std::fill(mixed.begin(), mixed.end(), 0.0f);
  std::size_t longest = 0;
  for (auto& slot : sources_) {
    AudioSource* source = slot;
    if (!source) continue;
    const std::size_t rendered = source->render(part);
    for (std::size_t i = 0; i < 2 * rendered; ++i) mixed[i] += part[i];
    longest = std::max(longest, rendered);
  }
  return longest;
}

void Mixer::encode(std::size_t frames, std::span<std::byte> buffer) noexcept {
  const std::span<const float> stereo(mix_.data(), 2 * frames);
  const auto channels = static_cast<std::size_t>(format_.channels);
  const std::span<float> out(frames_.data(), channels * frames);
  if (channels == 1) {
    dsp::mixToMono(stereo, out);
  } else if (channels > 2) {
    // The front pair comes first in every layout; the others stay silent.
    for (std::size_t i = 0; i < frames; ++i) std::copy_n(&stereo[2 * i], 2, &out[channels * i]);
  }
  dsp::encodeSamples(wordOf(format_), ByteOrder::little, channels == 2 ? stereo : std::span<const float>(out), buffer);
}

std::size_t Mixer::fill(std::span<std::byte> buffer) noexcept {
  const auto start = std::chrono::steady_clock::now();
  ++turn_;
  const std::size_t frameBytes = format_.bytesPerFrame(), total = buffer.size() / frameBytes;
  std::size_t sounding = 0;
  for (std::size_t done = 0; done < total;) {
    const std::size_t frames = std::min(total - done, mix_.size() / 2);
    if (const std::size_t rendered = mix(frames)) sounding = done + rendered;
    encode(frames, buffer.subspan(done * frameBytes, frames * frameBytes));
    done += frames;
  }
  ++turn_;
  const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
  const auto load =
      static_cast<float>(spent.count() * format_.sampleRate / static_cast<double>(std::max<std::size_t>(total, 1)));
  if (load > highestLoad_) highestLoad_ = load;
  return sounding;
}

}  // namespace tervo::audio
