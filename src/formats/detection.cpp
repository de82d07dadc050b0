#include "formats/detection.h"

#include <algorithm>
#include <array>
#include <vector>

#include "base/last_error.h"
#include "formats/detect_shared.h"
#include "formats/wave/raw_pcm.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr std::size_t headBytes = 32768;
constexpr int extensionBonus = 3;
constexpr int anythingBonus = 2;  // row 0
constexpr int leastScore = 3;
constexpr int bestScore = 9;

struct Candidate {
  FormatIndex index;
  const FormatDescriptor* row;
  /// Whether its detection never tells enough for it to win against row 0 without its extension, so that it need not be
  /// run then.
  bool needsExtension;
};

bool needsExtension(const FormatDescriptor& row) {
  return row.detect == detectByExtension || row.detect == detectSignedBytes;
}

/// The rows that can be read, ascending: detection runs through these only.
const std::vector<Candidate>& candidates() {
  static const std::vector<Candidate> rows = [] {
    std::vector<Candidate> result;
    for (FormatIndex i = 0; const FormatDescriptor* row = rowAt(i); ++i)
      if (row->read) result.push_back({i, row, needsExtension(*row)});
    return result;
  }();
  return rows;
}

}  // namespace

Detection DetectFormat(TextView fileName, const ByteSource& file) {
  const uint64_t size = file.size();
  if (size == 0) {
    setLastErrorText(u"File is of zero size");
    return {};
  }
  std::array<std::byte, headBytes> buffer;
  const std::size_t wanted = static_cast<std::size_t>(std::min<uint64_t>(size, headBytes));
  const std::span<const std::byte> head(buffer.data(), file.readAt(0, std::span(buffer).first(wanted)));
  const TextView extension = platform::extensionOf(fileName);

  Detection best;
  int highest = -1;
  for (const auto& [index, row, needsExtension] : candidates()) {
    const bool matches = matchesExtension(extension, row->extension);
    if (needsExtension && !matches) continue;
    const int bonus = !matches ? 0 : index == 0 ? anythingBonus : extensionBonus;
    const int score = row->detect(head, row->variant, size) + bonus;
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
