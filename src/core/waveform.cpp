#include "core/waveform.h"

namespace tervo {

void Waveform::setStoredFormat(SampleFormat format, uint32_t flags) {
  storedFormat = formatWord(format, flags);
  storedBits = bitsOf(format);
  coding = codingOf(format, coding);
}

}  // namespace tervo
