#include "core/normalise/sample_digest.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/last_error.h"
#include "core/normalise/sample_views.h"

namespace tervo::fixup {
namespace {

constexpr std::size_t samplesPerRound = sizeof(SampleDigest) / sizeof(float);
constexpr std::size_t blockSamples = 16384;  // whole rounds, and whole frames of one and of two channels

// Odd numbers with bits all over (fractions of the golden ratio and of the square root of 2); four lanes, so that the
// multiplications do not wait for one another.
constexpr uint64_t factor = 0x9E3779B97F4A7C15, secondFactor = 0x6A09E667F3BCC909;

void mixRound(SampleDigest& digest, const float* samples) {
  SampleDigest words;
  std::memcpy(words.data(), samples, sizeof(words));
  for (std::size_t lane = 0; lane < words.size(); ++lane)
    digest[lane] = std::rotl(digest[lane] + words[lane] * factor, 31) * secondFactor;
}

/// `samples` are whole rounds, but for the last ones of all.
void mix(SampleDigest& digest, std::span<const float> samples) {
  const std::size_t whole = samples.size() / samplesPerRound * samplesPerRound;
  for (std::size_t i = 0; i < whole; i += samplesPerRound) mixRound(digest, samples.data() + i);
  if (whole == samples.size()) return;
  float rest[samplesPerRound] = {};
  std::memcpy(rest, samples.data() + whole, (samples.size() - whole) * sizeof(float));
  mixRound(digest, rest);
}

bool mixStream(SampleDigest& digest, const SampleData& data) {
  const auto stream = data.open();
  if (!stream) return false;
  std::vector<float> block(blockSamples);
  for (int64_t left = data.frames(); left > 0;) {
    const auto frames = readFully(*stream, block, data.channels());
    if (!frames) return false;
    if (*frames == 0) return fail(u"Reading from file failed");
    mix(digest, std::span(block).first(*frames * static_cast<std::size_t>(data.channels())));
    left -= static_cast<int64_t>(*frames);
  }
  return true;
}

bool mixBytes(SampleDigest& digest, const StoredSamples& stored) {
  std::vector<float> block(blockSamples);  // as bits, whatever they mean
  for (uint64_t done = 0; done < stored.bytes;) {
    const auto bytes = static_cast<std::size_t>(std::min<uint64_t>(stored.bytes - done, block.size() * sizeof(float)));
    std::fill(block.begin(), block.end(), 0.0f);
    if (!stored.source->readExactly(stored.offset + done, std::as_writable_bytes(std::span(block)).first(bytes)))
      return false;
    mix(digest, block);
    done += bytes;
  }
  return true;
}

}  // namespace

std::optional<SampleDigest> digestOfStored(const StoredSamples& stored) {
  SampleDigest digest = {5, 6, 7, stored.format};
  if ((stored.format & SplitChannels) != 0 || !mixBytes(digest, stored)) return std::nullopt;
  return digest;
}

std::optional<SampleDigest> digestOf(const SampleData& data) {
  SampleDigest digest = {1, 2, 3, 4};
  if (!data.resident().empty())
    mix(digest, data.resident());
  else if (!mixStream(digest, data))
    return std::nullopt;
  return digest;
}

}  // namespace tervo::fixup
