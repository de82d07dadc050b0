#pragma once
// The 76 parameters of a GSM 06.10 frame and their way into bytes and back.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo::gsm {

inline constexpr std::size_t frameSamples = 160;
inline constexpr std::size_t subframeSamples = 40;

/// EN 300 961, table 1.1: the coded parameters of 40 samples.
struct Subframe {
  uint8_t lag = 0;                   ///< Ncr, 40..120, 7 bits
  uint8_t gain = 0;                  ///< bcr, 2 bits
  uint8_t grid = 0;                  ///< Mcr, 2 bits
  uint8_t block = 0;                 ///< xmaxcr, 6 bits
  std::array<uint8_t, 13> pulses{};  ///< xMcr, 3 bits each
};

struct Frame {
  std::array<uint8_t, 8> lar{};  ///< coded log-area ratios, 6, 6, 5, 5, 4, 4, 3 and 3 bits
  std::array<Subframe, 4> subframes{};
};

/// 33 bytes that begin with 0xD; false when they do not.
bool unpack33(std::span<const std::byte, 33> bytes, Frame& frame);
void pack33(const Frame& frame, std::span<std::byte, 33> bytes);

/// Frame 0 or 1 of a pair of 65 bytes. Frame 0 needs only the first 33 of them.
Frame unpackPair(std::span<const std::byte> bytes, int which);
void packPair(const std::array<Frame, 2>& frames, std::span<std::byte, 65> bytes);

}  // namespace tervo::gsm
