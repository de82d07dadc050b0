#include "formats/wave/info_tags.h"

#include <algorithm>

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

constexpr FourCC software = "ISFT";
constexpr std::string_view softwareName = "Tervo Studio 12.9";

const InfoName* nameOf(FourCC id) {
  const auto* found =
      std::find_if(std::begin(infoNames), std::end(infoNames), [&](const InfoName& name) { return name.id == id; });
  return found == std::end(infoNames) ? nullptr : found;
}

void writeText(ByteWriter& writer, FourCC id, std::string_view text) {
  const ChunkScope chunk(writer, id);
  writer.chars(text);
  writer.u8(0);
}

}  // namespace

void readInfoTags(const ByteSource& source, const Chunk& list, Tags& tags, std::vector<KeptInfo>* kept) {
  ChunkWalker walker(source, list.body + 4, list.body + list.bytes);
  while (const auto chunk = walker.next()) {
    auto body = loadChunk(source, *chunk);
    if (const auto* name = nameOf(chunk->id)) {
      tags[name->tag] = fromFileText({reinterpret_cast<const char*>(body.data()), body.size()});
    } else if (kept && chunk->id != software) {
      kept->push_back({chunk->id, std::move(body)});
    }
  }
}

void writeInfoTags(ByteWriter& writer, const Tags& tags, std::span<const KeptInfo> kept) {
  const ChunkScope list(writer, "LIST");
  writer.chars("INFO");
  for (const auto& name : infoNames) {
    if (!tags[name.tag].empty()) writeText(writer, name.id, toUtf8(tags[name.tag]));
  }
  for (const auto& other : kept) {
    const ChunkScope chunk(writer, other.id);
    writer.bytes(other.body);
  }
  writeText(writer, software, softwareName);
}

}  // namespace tervo
