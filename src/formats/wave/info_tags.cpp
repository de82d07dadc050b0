#include "formats/wave/info_tags.h"

namespace tervo {
namespace {

struct InfoName {
  FourCC id;
  Tag tag;
};

constexpr InfoName infoNames[] = {
    {"INAM", Tag::name},      {"IART", Tag::artist},   {"ICMT", Tag::comments},
    {"ICOP", Tag::copyright}, {"IENG", Tag::engineer}, {"IPRD", Tag::product},
};

}  // namespace

std::optional<Tag> infoTagOf(FourCC id) {
  for (const auto& name : infoNames) {
    if (name.id == id) return name.tag;
  }
  return std::nullopt;
}

void forEachInfoTag(const Tags& tags, const std::function<void(FourCC, const Text&)>& visit) {
  for (const auto& name : infoNames) {
    if (!tags[name.tag].empty()) visit(name.id, tags[name.tag]);
  }
}

void writeInfoText(ByteWriter& writer, FourCC id, std::string_view text, InfoSize size) {
  const ChunkScope chunk(writer, id);
  writer.chars(text);
  writer.u8(0);
  if (size == InfoSize::even && text.size() % 2 == 0) writer.u8(0);
}

void readInfoTags(const ByteSource& source, const Chunk& list, Tags& tags, std::vector<KeptInfo>* kept) {
  ChunkWalker walker(source, list.body + 4, list.body + list.bytes);
  while (const auto chunk = walker.next()) {
    auto body = loadChunk(source, *chunk);
    if (const auto tag = infoTagOf(chunk->id)) {
      tags[*tag] = fromFileText({reinterpret_cast<const char*>(body.data()), body.size()});
    } else if (kept && chunk->id != infoSoftware) {
      kept->push_back({chunk->id, std::move(body)});
    }
  }
}

void writeInfoTags(ByteWriter& writer, const Tags& tags, std::span<const KeptInfo> kept) {
  const ChunkScope list(writer, "LIST");
  writer.chars("INFO");
  forEachInfoTag(tags, [&](FourCC id, const Text& text) { writeInfoText(writer, id, toUtf8(text)); });
  for (const auto& other : kept) {
    const ChunkScope chunk(writer, other.id);
    writer.bytes(other.body);
  }
  writeInfoText(writer, infoSoftware, softwareName);
}

}  // namespace tervo
