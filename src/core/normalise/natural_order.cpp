#include "core/normalise/natural_order.h"

namespace tervo::fixup {
namespace {

bool isDigit(char16_t c) {
  return c >= u'0' && c <= u'9';
}

/// Takes a run of digits from the front; leading zeros are lost.
TextView takeNumber(TextView& text) {
  std::size_t length = 0;
  while (length < text.size() && isDigit(text[length])) ++length;
  TextView number = text.substr(0, length);
  text.remove_prefix(length);
  while (number.size() > 1 && number.front() == u'0') number.remove_prefix(1);
  return number;
}

/// Negative, zero or positive, as for the first part of both texts, which is taken from them.
int compareFront(TextView& a, TextView& b) {
  if (isDigit(a.front()) && isDigit(b.front())) {
    const TextView one = takeNumber(a), other = takeNumber(b);
    if (one.size() != other.size()) return one.size() < other.size() ? -1 : 1;
    return one.compare(other);
  }
  const int difference = int{upper(a.front())} - int{upper(b.front())};
  a.remove_prefix(1);
  b.remove_prefix(1);
  return difference;
}

}  // namespace

bool naturallyBefore(TextView a, TextView b) {
  while (!a.empty() && !b.empty()) {
    const int difference = compareFront(a, b);
    if (difference != 0) return difference < 0;
  }
  return a.empty() && !b.empty();
}

}  // namespace tervo::fixup
