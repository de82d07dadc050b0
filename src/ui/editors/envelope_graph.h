#pragma once
// An envelope of an item as levels over time, and where its points stand in a picture: each segment has a width of its
// own that grows with the logarithm of its time, so that 1 ms and 10 s can both be told and taken hold of. Inside a
// segment time runs evenly.

#include <array>

#include "core/item.h"
#include "core/parameter_id.h"

namespace tervo::ui {

inline constexpr int envelopeSegments = 7, attackSegments = 4;

/// The rows of a segment's end in the V-ENV.
struct EnvelopeRows {
  const char* name;
  ParameterId time, level;
};
extern const std::array<EnvelopeRows, envelopeSegments> envelopeRows;

struct EnvelopeGraph {
  double initial = 0;
  std::array<double, envelopeSegments> levels{}, seconds{};

  /// The effective values of the item. The rate of the first release makes a time by the way from the sustain level.
  static EnvelopeGraph of(ItemId item, Modulator which);
  double levelBefore(int segment) const;
  double longest() const;
};

class EnvelopeScale {
 public:
  /// So wide that the longest segment fits; a picture from `left` to `right`.
  EnvelopeScale(double left, double right, double longestSeconds);
  EnvelopeScale() : EnvelopeScale(0, 1, 1) {}

  double width(double seconds) const;
  double seconds(double width) const;
  double left() const { return left_; }
  double right() const { return right_; }

  /// Where the release begins: it ends at the right edge, and what is left over is the sustain.
  double releaseStart(const EnvelopeGraph& graph) const;

 private:
  double left_, right_, slot_, longest_;
};

/// Where the segments begin and end.
struct EnvelopePlaces {
  EnvelopePlaces(const EnvelopeGraph& graph, const EnvelopeScale& scale, double releaseStart);
  std::array<double, envelopeSegments> from{}, to{};
};

}  // namespace tervo::ui
