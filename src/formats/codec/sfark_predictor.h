#pragma once
// The linear prediction of sfArk archives. Coefficients are not stored: both sides work them out of what they have
// decoded before, so each rounding of the floats is part of the format.

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tervo {

class SfArkPredictor {
 public:
  static constexpr std::size_t windowWords = 128;

  explicit SfArkPredictor(std::size_t order) : order_(order) {}

  /// Turns the differences of a block into words. Bit n of `plain`: window n is not predicted, and all before it is
  /// forgotten.
  void decode(std::span<int16_t> block, uint32_t plain);

 private:
  static constexpr std::size_t mostOrder = 128, historyWindows = 4;
  using Correlation = std::array<float, mostOrder + 1>;
  using Window = std::array<int32_t, windowWords>;

  void decodeWindow(Window& window, bool isPlain);
  void updateHistory(const Window& window);
  std::array<int32_t, mostOrder> coefficients() const;
  void filter(const std::array<int32_t, mostOrder>& coefficients, Window& window);

  std::size_t order_;
  std::array<int32_t, mostOrder + 1> state_{};
  std::array<Correlation, historyWindows> history_{};
  std::size_t newest_ = 0;
  Window before_{};
};

}  // namespace tervo
