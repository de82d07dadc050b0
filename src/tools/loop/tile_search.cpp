#include <algorithm>

#include "tools/loop/search_methods.h"

namespace tervo {
namespace {

constexpr std::size_t rowsOfBlock = 32;     // ends; whole tiles
constexpr std::size_t columnsOfBlock = 24;  // starts; with one tile of rows they fit into the innermost cache
constexpr double productError = 2e-5;

static_assert(rowsOfBlock % dsp::tileRows == 0 && columnsOfBlock % dsp::tileColumns == 0);

/// Spans of some places one after another, each of length 1, filled up with silence.
class Block {
 public:
  explicit Block(std::size_t spans) : spans_(spans * spanFrames) {}

  void fill(std::span<const float> x, std::span<const LoopPlace> places) {
    float* out = spans_.data();
    for (const LoopPlace& place : places) {
      const float* in = x.data() + (place.position - spanBefore);
      for (std::size_t i = 0; i < spanFrames; ++i) *out++ = in[i] * place.scale;
    }
    std::fill(out, spans_.data() + spans_.size(), 0.0f);
  }
  const float* span(std::size_t index) const { return spans_.data() + index * spanFrames; }

 private:
  std::vector<float> spans_;
};

struct BlockPair {
  const Block& rows;
  const Block& columns;
  std::span<const LoopPlace> ends, starts;
};

void compare(const BlockPair& pair, LoopContest& contest) {
  const auto& kernels = dsp::spanKernels();
  float products[dsp::tileRows * dsp::tileColumns];
  for (std::size_t row = 0; row < pair.ends.size(); row += dsp::tileRows) {
    for (std::size_t column = 0; column < pair.starts.size(); column += dsp::tileColumns) {
      kernels.products(pair.rows.span(row), pair.columns.span(column), products);
      const auto bar = static_cast<float>(contest.bar() - productError);
      for (std::size_t i = 0; i < std::size(products); ++i) {
        if (!(products[i] >= bar)) continue;
        const std::size_t end = row + i % dsp::tileRows, start = column + i / dsp::tileRows;
        if (end >= pair.ends.size() || start >= pair.starts.size()) continue;
        const LoopPlace &from = pair.starts[start], &to = pair.ends[end];
        if (contest.allows(from.position, to.position)) contest.offer(from, to);
      }
    }
  }
}

}  // namespace

StartRange TileSearch::startsForAll(std::size_t first, std::size_t last) const {
  const StartRange lowest = startsFor(places_, places_[first].position, contest_.range());
  const StartRange highest = startsFor(places_, places_[last - 1].position, contest_.range());
  return {std::min(lowest.first, highest.last), highest.last};
}

double TileSearch::cost() const {
  constexpr double secondsOfPair = 10e-9;
  double pairs = 0;
  for (std::size_t first = 0; first < places_.size(); first += rowsOfBlock) {
    const std::size_t last = std::min(first + rowsOfBlock, places_.size());
    const std::size_t starts = startsForAll(first, last).count();
    pairs += static_cast<double>((last - first) * (starts + columnsOfBlock / 2));
  }
  return pairs * secondsOfPair;
}

bool TileSearch::run(const SearchProgress& progress) {
  constexpr std::size_t blocksBetween = 1024;  // two asks for progress
  Block rows(rowsOfBlock), columns(columnsOfBlock);
  std::size_t compared = 0;
  for (std::size_t last = places_.size(); last > 0; last -= std::min(last, rowsOfBlock)) {
    const std::size_t first = last - std::min(last, rowsOfBlock);
    const StartRange starts = startsForAll(first, last);
    const auto ends = places_.subspan(first, last - first);
    rows.fill(contest_.x(), ends);
    for (std::size_t right = starts.last; right > starts.first;) {
      const std::size_t left = right - std::min(columnsOfBlock, right - starts.first);
      const auto some = places_.subspan(left, right - left);
      columns.fill(contest_.x(), some);
      compare({rows, columns, ends, some}, contest_);
      right = left;
      if (++compared % blocksBetween != 0) continue;
      // An end has fewer starts before it the earlier it is.
      const double part = static_cast<double>(last) / static_cast<double>(places_.size());
      if (!progress(1 - part * part)) return false;
    }
  }
  return true;
}

}  // namespace tervo
