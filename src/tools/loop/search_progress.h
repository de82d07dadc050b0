#pragma once
// How a search says how far it is, and learns that it is to stop.

#include <functional>

namespace tervo {

/// `fraction` is 0..1; false stops the search.
using SearchProgress = std::function<bool(double fraction)>;

/// The progress of one part of a search that reaches from one fraction to another.
inline SearchProgress partOf(const SearchProgress& whole, double from, double to) {
  return [&whole, from, to](double fraction) { return whole(from + (to - from) * fraction); };
}

}  // namespace tervo
