#include "formats/detection.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/path.h"

namespace tervo {
namespace {

constexpr std::size_t headBytes = 32768;
constexpr int extensionBonus = 3;
constexpr int anythingBonus = 2;  // row 0
constexpr int leastScore = 3;
constexpr int bestScore = 9;

/// The rows that can be read, ascending: detection runs through these only.
const std::vector<FormatIndex>& readableRows() {
  static const std::vector<FormatIndex> rows = [] {
    std::vector<FormatIndex> result;
    for (FormatIndex i = 0; i < static_cast<FormatIndex>(formatCount); ++i)
      if (rowAt(i)->read) result.push_back(i);
    return result;
  }();
  return rows;
}

int bonusOf(FormatIndex index, TextView extension, const FormatDescriptor& row) {
  if (!matchesExtension(extension, row.extension)) return 0;
  return index == 0 ? anythingBonus : extensionBonus;
}

}  // namespace

Detection DetectFormat(TextView fileName, const ByteSource& file) {
  const uint64_t size = file.size();
  if (size == 0) return {};
  std::array<std::byte, headBytes> buffer;
  const std::size_t wanted = static_cast<std::size_t>(std::min<uint64_t>(size, headBytes));
  const std::span<const std::byte> head(buffer.data(), file.readAt(0, std::span(buffer).first(wanted)));
  const TextView extension = platform::extensionOf(fileName);

  Detection best;
  int highest = -1;
  for (const FormatIndex index : readableRows()) {
    const FormatDescriptor& row = *rowAt(index);
    const int score = row.detect(head, row.variant, size) + bonusOf(index, extension, row);
    if (score <= highest) continue;
    highest = score;
    best.index = index;
  }
  if (best.index <= 0) return best;
  if (highest < leastScore) return {};
  best.confidence = highest * 100 / bestScore;
  return best;
}

FormatIndex knownButUnread(TextView fileName) {
  const TextView extension = platform::extensionOf(fileName);
  for (FormatIndex i = 1; i < static_cast<FormatIndex>(formatCount); ++i) {
    const FormatDescriptor& row = *rowAt(i);
    if ((row.declared & DeclaredOps::read) && !row.read && matchesExtension(extension, row.extension)) return i;
  }
  return noFormat;
}

Text knownButUnreadNote(TextView fileName) {
  const FormatIndex index = knownButUnread(fileName);
  return index == noFormat ? Text() : u"known, but not readable yet: " + Text(descriptionOf(index));
}

}  // namespace tervo
