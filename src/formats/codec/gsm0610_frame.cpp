#include "formats/codec/gsm0610_frame.h"

#include <algorithm>

namespace tervo::gsm {
namespace {

enum class Order { mostSignificantFirst, leastSignificantFirst };

constexpr std::size_t frameBits = 260;

/// Calls visit(parameter, bits) for all 76 in the order of transmission.
template <typename AnyFrame, typename Visit>
void forEachParameter(AnyFrame& frame, Visit visit) {
  static constexpr std::array<int, 8> larBits = {6, 6, 5, 5, 4, 4, 3, 3};
  for (std::size_t i = 0; i < larBits.size(); ++i) visit(frame.lar[i], larBits[i]);
  for (auto& subframe : frame.subframes) {
    visit(subframe.lag, 7);
    visit(subframe.gain, 2);
    visit(subframe.grid, 2);
    visit(subframe.block, 6);
    for (auto& pulse : subframe.pulses) visit(pulse, 3);
  }
}

template <Order order>
Frame unpack(std::span<const std::byte> bytes, std::size_t bit) {
  Frame frame;
  forEachParameter(frame, [&](uint8_t& parameter, int bits) {
    unsigned value = 0;
    for (int i = 0; i < bits && bit / 8 < bytes.size(); ++i, ++bit) {
      const auto byte = std::to_integer<unsigned>(bytes[bit / 8]);
      if constexpr (order == Order::mostSignificantFirst)
        value = (value << 1) | ((byte >> (7 - bit % 8)) & 1);
      else
        value |= ((byte >> (bit % 8)) & 1) << i;
    }
    parameter = static_cast<uint8_t>(value);
  });
  return frame;
}

/// The bytes must be zero where the frame goes.
template <Order order>
void pack(const Frame& frame, std::span<std::byte> bytes, std::size_t bit) {
  forEachParameter(frame, [&](const uint8_t& parameter, int bits) {
    for (int i = 0; i < bits; ++i, ++bit) {
      constexpr bool high = order == Order::mostSignificantFirst;
      const auto value = static_cast<uint8_t>((parameter >> (high ? bits - 1 - i : i)) & 1);
      bytes[bit / 8] |= static_cast<std::byte>(value << (high ? 7 - bit % 8 : bit % 8));
    }
  });
}

}  // namespace

bool unpack33(std::span<const std::byte, 33> bytes, Frame& frame) {
  if (std::to_integer<unsigned>(bytes[0]) >> 4 != 0xD) return false;
  frame = unpack<Order::mostSignificantFirst>(bytes, 4);
  return true;
}

void pack33(const Frame& frame, std::span<std::byte, 33> bytes) {
  std::fill(bytes.begin(), bytes.end(), std::byte{});
  bytes[0] = std::byte{0xD0};
  pack<Order::mostSignificantFirst>(frame, bytes, 4);
}

Frame unpackPair(std::span<const std::byte> bytes, int which) {
  return unpack<Order::leastSignificantFirst>(bytes, which == 0 ? 0 : frameBits);
}

void packPair(const std::array<Frame, 2>& frames, std::span<std::byte, 65> bytes) {
  std::fill(bytes.begin(), bytes.end(), std::byte{});
  pack<Order::leastSignificantFirst>(frames[0], bytes, 0);
  pack<Order::leastSignificantFirst>(frames[1], bytes, frameBits);
}

}  // namespace tervo::gsm
