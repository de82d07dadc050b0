#include "formats/number_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace tervo {

Text numberText(double value) {
  const double size = std::abs(value);
  if (!std::isfinite(value) || (size != 0 && size < 1e-5)) return fromUtf8(fmt::format("{:.3g}", value));
  const int whole = size < 1 ? 0 : static_cast<int>(std::log10(size));
  std::string text = fmt::format("{:.{}f}", value + 0.0, std::clamp(6 - whole, 2, 5));
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return fromUtf8(text);
}

}  // namespace tervo
