#include "formats/wave/aiff_texts.h"

namespace tervo {
namespace {

struct TextChunk {
  FourCC id;
  Tag tag;
};
constexpr TextChunk textChunks[] = {
    {"NAME", Tag::name}, {"AUTH", Tag::artist}, {"ANNO", Tag::comments}, {"(c) ", Tag::copyright}};

}  // namespace

std::optional<Tag> aiffTagOf(FourCC id) {
  for (const auto& chunk : textChunks) {
    if (chunk.id == id) return chunk.tag;
  }
  return std::nullopt;
}

bool addAiffText(Tags& tags, Tag tag, const Text& text) {
  Text& all = tags[tag];
  if (all.empty()) {
    all = text;
    return true;
  }
  if (tag != Tag::comments) return text.empty() || text == all;
  if (!text.empty()) all += u"\n" + text;
  return true;
}

void forEachAiffText(const Tags& tags, const std::function<void(FourCC, const Text&)>& visit) {
  for (const auto& chunk : textChunks) {
    if (!tags[chunk.tag].empty()) visit(chunk.id, tags[chunk.tag]);
  }
}

}  // namespace tervo
