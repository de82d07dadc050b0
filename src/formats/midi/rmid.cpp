#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/chunk_walker.h"
#include "formats/midi/midi_file.h"
#include "formats/midi/song_reader.h"
#include "formats/number_text.h"
#include "formats/wave/info_tags.h"

namespace tervo {
namespace {

constexpr std::size_t formHeaderBytes = 12;

bool isRmid(std::span<const std::byte> head) {
  ByteReader reader(head);
  const FourCC form = reader.fourCC();
  reader.skip(4);
  return form == FourCC("RIFF") && reader.fourCC() == FourCC("RMID") && reader.ok();
}

Text quoted(FourCC id) {
  Text text = fromFileText({id.chars.data(), id.chars.size()});
  text.insert(text.begin(), u'"');
  text.push_back(u'"');
  return text;
}

/// The type of a list or of a form inside the form.
FourCC typeOf(const ByteSource& source, const Chunk& chunk) {
  const auto body = source.readUpTo(chunk.body, chunk.bytes, sizeof(FourCC));
  return ByteReader(body).fourCC();
}

void readInfo(Collection& collection, const SourceFile& file, const Chunk& list) {
  std::vector<KeptInfo> others;
  readInfoTags(*file.bytes, list, collection.tags, &others);
  for (const auto& other : others)
    file.report.dropped(collection.name, u"text " + quoted(other.id), u"the document has no such tag");
}

/// Reads one chunk of the form, where it is one that holds what the document can.
void readOther(Collection& collection, const SourceFile& file, const Chunk& chunk) {
  const bool isContainer = chunk.id == FourCC("LIST") || chunk.id == FourCC("RIFF");
  const FourCC type = isContainer ? typeOf(*file.bytes, chunk) : chunk.id;
  if (type == FourCC("INFO")) return readInfo(collection, file, chunk);
  const bool isBank = type == FourCC("DLS ") || type == FourCC("sfbk");
  file.report.dropped(collection.name, isBank ? u"instruments of the song" : u"chunk " + quoted(type),
                      isBank ? u"their " + quoted(type) + u" bank can not be read yet" : u"its meaning is unknown");
}

const Tags* tagsOf(const Song& song) {
  const Item* parent = song.parent();
  return parent && parent->kind() == ItemKind::collection ? &static_cast<const Collection*>(parent)->tags : nullptr;
}

void reportPicture(const Song& song, const Tags& tags, ConversionReport& report) {
  if (tags.image) report.dropped(song.name, u"picture", u"the format has no place for it");
}

}  // namespace

int detectRmid(std::span<const std::byte> head, uint32_t, uint64_t) {
  return isRmid(head) ? 6 : 0;
}

bool readRmid(Collection& collection, const SourceFile& file, uint32_t) {
  const auto head = file.bytes->readUpTo(0, formHeaderBytes, formHeaderBytes);
  if (!isRmid(head)) return fail(u"Not a RIFF-RMID file");
  ChunkWalker walker(*file.bytes, formHeaderBytes, file.bytes->size());
  ByteReader reader(head);
  reader.skip(4);
  walker.setDeclaredEnd(uint64_t{8} + reader.little<uint32_t>());
  bool found = false;
  while (const auto chunk = walker.next()) {
    if (chunk->id == FourCC("data")) {
      found = readSongs(collection, file, chunk->body, chunk->body + chunk->bytes) || found;
    } else {
      readOther(collection, file, *chunk);
    }
  }
  if (const uint64_t bytes = walker.strayBytes(); bytes > 0)
    file.report.dropped(collection.name, u"bytes behind the form: " + numberText(static_cast<double>(bytes)),
                        u"they are no part of it");
  return found || fail(u"Not a RIFF-RMID file");
}

bool writeRmid(const Item& item, TargetFile& file, uint32_t) {
  if (item.kind() != ItemKind::song) return fail(u"The file format can not save this item");
  const auto& song = static_cast<const Song&>(item);
  constexpr uint64_t spare = 1 << 20;  // for the tags
  if (midiFileBytes(song) > 0xFFFFFFFF - spare) return fail(u"The song is too long for the file format");
  ByteWriter writer(file.sink);
  const ChunkScope form(writer, "RIFF");
  writer.chars("RMID");
  {
    const ChunkScope data(writer, "data");
    if (!writeMidiBytes(song, file)) return false;
  }
  if (const Tags* tags = tagsOf(song)) {
    writeInfoTags(writer, *tags);
    reportPicture(song, *tags, file.report);
  }
  return writer.ok();
}

}  // namespace tervo
