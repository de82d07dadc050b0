#pragma once
// One channel of ITU-T G.726: the adaptive quantizer and the adaptive predictor that coder and decoder share. Variables
// bear the names of the Recommendation's section 4.2 (in its sub-block descriptions), so that the two can be read side
// by side.

#include <array>
#include <cstdint>
#include <span>

namespace tervo::g726 {

/// What the four rates differ in. Tables of levels run over the magnitude of a code word.
struct Rate {
  int bits;
  std::span<const int16_t> decision;  ///< lower bounds of the normalised logarithm for magnitudes 1, 2, ... (QUAN)
  std::span<const int16_t> level;     ///< quantizer output, normalised logarithm (RECONST)
  std::span<const int16_t> scale;     ///< W(I), the scale factor multiplier (FUNCTW)
  std::span<const uint8_t> speed;     ///< F(I), how fast the speed should be (FUNCTF)
  int zeroLeak;                       ///< shift of the zero predictor's leakage (UPB)
  bool positiveZero;                  ///< whether a code word of all zeros stands for a small positive difference
};

/// The rate of 2 to 5 bits; null for other numbers.
const Rate* rateOf(int bits);

class Channel {
 public:
  static constexpr std::size_t framesPerWord = 1;

  explicit Channel(const Rate& rate) : rate_(&rate) {}

  std::array<int16_t, 1> decode(uint8_t code);
  uint8_t encode(std::array<int16_t, 1> sample);

 private:
  /// Sign, 4-bit exponent and 6-bit mantissa: the factors that the predictor multiplies (FLOATA, FLOATB).
  struct Float {
    bool negative = false;
    uint8_t exponent = 0;
    uint8_t mantissa = 32;
  };
  struct Difference {
    int magnitude;
    bool negative;
    int value() const { return negative ? -magnitude : magnitude; }
  };
  struct Estimate {
    int zeros;   ///< SEZ, from the six zeros alone
    int signal;  ///< SE
  };

  static Float toFloat(bool negative, int magnitude);
  static int multiply(int coefficient, Float factor);
  Estimate predict() const;
  int quantizerScale() const;
  uint8_t quantize(int difference, int y) const;
  int magnitudeOf(uint8_t code) const;
  Difference reconstruct(uint8_t code, int y) const;

  void update(uint8_t code, int y, Estimate estimate, Difference dq);
  bool transition(int magnitude) const;
  void adaptScale(int magnitudeIndex, int y);
  void adaptSpeed(int magnitudeIndex, int y, bool transition);
  void adaptZeros(Difference dq);
  void adaptPoles(int partial);

  const Rate* rate_;
  int yl_ = 34816, yu_ = 544;       // locked and unlocked scale factors
  int dms_ = 0, dml_ = 0, ap_ = 0;  // short- and long-term means of F(I), and the speed between the two factors
  int a1_ = 0, a2_ = 0;             // poles
  std::array<int, 6> b_{};          // zeros
  std::array<Float, 6> dq_{};       // quantized differences before
  std::array<Float, 2> sr_{};       // reconstructed samples before
  bool pk1_ = false, pk2_ = false;  // signs of the partially reconstructed samples before
  bool tone_ = false;               // TD: a narrow-band signal was detected
};

}  // namespace tervo::g726
