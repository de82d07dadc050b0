#include "formats/number_text.h"

#include <array>
#include <charconv>

namespace tervo {

Text numberText(double value) {
  std::array<char, 32> digits;
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  return {digits.data(), result.ptr};
}

}  // namespace tervo
