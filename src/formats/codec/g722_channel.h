#pragma once
// One channel of ITU-T G.722: the quadrature mirror filters and the ADPCM of both sub-bands. Blocks bear the names of
// the Recommendation's section 6.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tervo::g722 {

/// The predictor (2 poles, 6 zeros) and the logarithmic scale factor of one sub-band.
class Band {
 public:
  explicit Band(int scale) : scale_(scale) {}

  int estimate() const { return estimate_; }
  int scale() const { return scale_; }
  /// Takes in a quantized difference (blocks RECONS to PREDIC).
  void adaptPredictor(int difference);
  /// LOGSCL/LOGSCH and SCALEL/SCALEH. `exponentBase` is 8 in the lower and 10 in the higher band.
  void adaptScale(int step, int limit, int exponentBase);

 private:
  int estimate_ = 0;                    // S
  int zeroEstimate_ = 0;                // SZ
  int scale_;                           // DET
  int logScale_ = 0;                    // NB
  std::array<int, 2> reconstructed_{};  // R, newest first
  std::array<int, 2> partial_{};        // P
  std::array<int, 2> poles_{};          // A
  std::array<int, 6> differences_{};    // D
  std::array<int, 6> zeros_{};          // B
};

/// The last 12 values, newest first, for one of the filters' two phases.
class History {
 public:
  void push(int value) {
    position_ = position_ == 0 ? size - 1 : position_ - 1;
    values_[position_] = values_[position_ + size] = value;
  }
  std::span<const int, 12> newestFirst() const { return std::span<const int, 12>(values_.data() + position_, size); }

 private:
  static constexpr std::size_t size = 12;
  std::array<int, 2 * size> values_{};  // twice, so that 12 always stand in a row
  std::size_t position_ = 0;
};

class Channel {
 public:
  static constexpr std::size_t framesPerWord = 2;

  /// 6, 7 or 8 bits a code word.
  explicit Channel(int bits) : dropped_(8 - bits) {}

  std::array<int16_t, 2> decode(uint8_t code);
  uint8_t encode(std::array<int16_t, 2> samples);

 private:
  void adaptLower(int code4);
  int adaptHigher(int code2);

  int dropped_;  ///< bits of the lower band's 6 that are not transmitted
  Band lower_{32}, higher_{8};
  History even_, odd_;
};

}  // namespace tervo::g722
