#include "formats/codec/gsm0610_decoder.h"

#include <algorithm>

#include "formats/codec/gsm0610_arithmetic.h"

namespace tervo::gsm {

void Decoder::decode(const Frame& frame, std::span<int16_t, frameSamples> out) {
  std::copy(residual_.end() - maxLag, residual_.end(), residual_.begin());
  for (std::size_t i = 0; i < frame.subframes.size(); ++i)
    synthesiseLongTerm(frame.subframes[i], maxLag + i * subframeSamples);

  std::copy(residual_.begin() + maxLag, residual_.end(), out.begin());
  filter_.synthesise(decodeLars(frame.lar), out);
  for (int16_t& sample : out) {  // sections 5.3.5 to 5.3.7
    deemphasis_ = add(sample, multR(deemphasis_, 28180));
    sample = static_cast<int16_t>(add(deemphasis_, deemphasis_) & ~7);
  }
}

// Section 5.3.2. A lag that no coder sends repeats the one before.
void Decoder::synthesiseLongTerm(const Subframe& subframe, std::size_t first) {
  if (subframe.lag >= 40 && subframe.lag <= maxLag) lag_ = subframe.lag;
  std::array<int16_t, subframeSamples> pulses;
  decodePulses(subframe, pulses);
  const int gain = gainLevels[subframe.gain];
  for (std::size_t k = 0; k < pulses.size(); ++k)
    residual_[first + k] = add(pulses[k], multR(gain, residual_[first + k - lag_]));
}

}  // namespace tervo::gsm
