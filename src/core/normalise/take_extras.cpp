// What a right channel carries besides its sound.

#include <algorithm>

#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

constexpr uint64_t mostCompared = uint64_t{1} << 20;

bool areEqual(const ForeignChunk& a, const ForeignChunk& b) {
  if (a.container != b.container || a.id != b.id || a.bytes != b.bytes) return false;
  if (a.source == b.source && a.offset == b.offset) return true;
  if (a.bytes > mostCompared || !a.source || !b.source) return false;
  std::vector<std::byte> one(static_cast<std::size_t>(a.bytes)), other(one.size());
  return a.source->readExactly(a.offset, one) && b.source->readExactly(b.offset, other) && one == other;
}

bool areEqual(const Picture& a, const Picture& b) {
  return a.bytes == b.bytes && a.mimeType == b.mimeType;
}

constexpr TextView why = u"the left channel's stays";

bool holdsAllChunks(const Waveform& left, const Waveform& right) {
  // The same writer gives both channels the same chunks in the same order.
  const auto &kept = left.foreignChunks, &wanted = right.foreignChunks;
  return wanted.size() <= kept.size() &&
         std::equal(wanted.begin(), wanted.end(), kept.begin(),
                    [](const ForeignChunk& a, const ForeignChunk& b) { return areEqual(a, b); });
}

void takeTags(Waveform& leftChannel, const Waveform& rightChannel, ConversionReport& report) {
  Tags& left = leftChannel.tags;
  const Tags& right = rightChannel.tags;
  const Text& name = rightChannel.name;
  for (std::size_t i = 0; i < tagCount; ++i) {
    const auto tag = static_cast<Tag>(i);
    // Where a file lay is nothing that a user wrote, and the merged waveform has a name of its own.
    if (right[tag].empty() || right[tag] == left[tag] || right[tag] == name || tag == Tag::sourceFile) continue;
    if (left[tag].empty())
      left[tag] = right[tag];
    else
      report.add({name, u"tag " + Text(nameOf(tag)), ReportKind::dropped, right[tag], Text(why)});
  }
  if (!right.image) return;
  if (!left.image)
    left.image = right.image;
  else if (!areEqual(*left.image, *right.image))
    report.dropped(name, u"picture", why);
}

}  // namespace

void takeExtras(Waveform& left, const Waveform& right, ConversionReport& report) {
  takeTags(left, right, report);
  if (!holdsAllChunks(left, right)) report.dropped(right.name, u"chunks of the source file", why);
}

}  // namespace tervo::fixup
