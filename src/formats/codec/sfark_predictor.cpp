#include "formats/codec/sfark_predictor.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tervo {
namespace {

constexpr int scaleBits = 14;
constexpr std::size_t atOnce = 16;  // products that are added before a sum is rounded to a float

/// As the machines did it that archives were made on: in 32 bits, which may wrap, and rounded towards zero.
int32_t scaledProduct(int32_t coefficient, int32_t value) {
  const auto product = static_cast<int32_t>(static_cast<uint32_t>(coefficient) * static_cast<uint32_t>(value));
  return product / (1 << scaleBits);
}
int32_t wrapped(int64_t value) {
  return static_cast<int32_t>(static_cast<uint32_t>(value));
}

/// The sum of left[i] × right[i], rounded as often as the coder does.
float correlation(std::span<const float> left, std::span<const float> right) {
  float sum = 0;
  std::size_t i = 0;
  for (; i + atOnce <= left.size(); i += atOnce) {
    double part = double{sum};
    for (std::size_t k = 0; k < atOnce; ++k) part += double{left[i + k]} * double{right[i + k]};
    sum = static_cast<float>(part);
  }
  for (; i < left.size(); ++i) sum = static_cast<float>(double{sum} + double{left[i]} * double{right[i]});
  return sum;
}

int32_t fixedPoint(float reflection) {
  const float scaled = reflection * (1 << scaleBits);
  const bool fits = std::abs(scaled) < 2147483648.0f;  // also false where it is no number
  return fits ? static_cast<int32_t>(scaled) : std::numeric_limits<int32_t>::min();
}

}  // namespace

void SfArkPredictor::decode(std::span<int16_t> block, uint32_t plain) {
  if (block.size() < windowWords) return;
  for (std::size_t first = 0; first < block.size(); first += windowWords, plain >>= 1) {
    const auto part = block.subspan(first, std::min(windowWords, block.size() - first));
    Window window{};
    std::copy(part.begin(), part.end(), window.begin());
    decodeWindow(window, (plain & 1) != 0);
    std::transform(window.begin(), window.begin() + static_cast<std::ptrdiff_t>(part.size()), part.begin(),
                   [](int32_t word) { return static_cast<int16_t>(word); });
  }
}

void SfArkPredictor::decodeWindow(Window& window, bool isPlain) {
  if (isPlain)
    *this = SfArkPredictor(order_);
  else
    filter(coefficients(), window);
  updateHistory(window);
}

/// A lattice, which keeps its state from window to window.
void SfArkPredictor::filter(const std::array<int32_t, mostOrder>& coefficients, Window& window) {
  for (int32_t& word : window) {
    int32_t value = word;
    for (std::size_t i = order_; i-- > 0;) {
      value = wrapped(int64_t{value} - scaledProduct(coefficients[i], state_[i]));
      state_[i + 1] = wrapped(int64_t{state_[i]} + scaledProduct(coefficients[i], value));
    }
    word = state_[0] = value;
  }
}

/// Reflection coefficients of what was decoded, by Schur's recursion.
std::array<int32_t, SfArkPredictor::mostOrder> SfArkPredictor::coefficients() const {
  std::array<int32_t, mostOrder> result{};
  Correlation sum{};
  for (std::size_t i = 0; i <= order_; ++i)
    sum[i] = static_cast<float>(double{history_[0][i]} + double{history_[1][i]} + double{history_[2][i]} +
                                double{history_[3][i]});
  if (sum[0] == 0) return result;
  float error = sum[0];
  std::array<float, mostOrder + 1> upper{}, lower{};
  std::copy_n(sum.begin() + 1, order_, upper.begin());
  lower = upper;
  for (std::size_t i = 0; i < order_; ++i) {
    const float reflection = -(lower[0] / error);
    error = static_cast<float>(double{error} + double{lower[0]} * double{reflection});
    result[i] = fixedPoint(reflection);
    for (std::size_t m = 0; m + 1 < order_ - i; ++m) {
      const double up = double{upper[m]}, low = double{lower[m + 1]}, r = double{reflection};
      lower[m] = static_cast<float>(low + r * up);
      upper[m] = static_cast<float>(up + r * low);
    }
  }
  return result;
}

void SfArkPredictor::updateHistory(const Window& window) {
  const auto n = static_cast<std::ptrdiff_t>(order_);
  // What the window before and this one share belongs to that one.
  std::array<float, 2 * mostOrder> seam{};
  std::copy_n(before_.begin(), n, seam.begin());
  std::copy_n(window.begin(), n, seam.begin() + n);
  for (std::size_t lag = order_; lag > 0; --lag) {
    const auto left = std::span<const float>(seam).subspan(order_ - lag, lag);
    const auto right = std::span<const float>(seam).subspan(order_, lag);
    float& sum = history_[newest_][lag];
    sum = static_cast<float>(double{sum} + double{correlation(left, right)});
  }
  newest_ = (newest_ + 1) % historyWindows;
  std::array<float, windowWords> words{};
  std::copy(window.begin(), window.end(), words.begin());
  const std::span<const float> all(words);
  for (std::size_t lag = 0; lag <= order_; ++lag)
    history_[newest_][lag] = correlation(all.first(windowWords - lag), all.subspan(lag));
  before_ = window;
}

}  // namespace tervo
