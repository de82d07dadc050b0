#include "formats/wave/file_contents.h"

#include "formats/wave/id3_tags.h"
#include "platform/path.h"

namespace tervo {
namespace {

// Programs that write to a pipe leave something like this where they cannot know the size.
constexpr uint64_t leastPipeSize = 0x7F000000;
constexpr std::size_t chunkLimit = 16u << 20;

}  // namespace

FileContents::FileContents(const SourceFile& source, const ChunkContainers& containers)
    : file(source), waveform(std::make_unique<Waveform>()), containers_(containers) {
  waveform->name = platform::stemOf(source.path);
  waveform->tags[Tag::sourceFile] = source.path;
}

void FileContents::keep(FourCC container, const Chunk& chunk) {
  if (keepChunk(*waveform, container, chunk, file.bytes, !data)) return;
  dropped(textOf(chunk.id) + u" chunk", u"too many chunks");
}

void FileContents::reportStrayBytes(const ChunkWalker& walker) const {
  if (const uint64_t bytes = walker.strayBytes(); bytes > 0)
    dropped(u"bytes behind the chunks: " + countText(bytes), u"they are no part of the form");
}

std::vector<std::byte> FileContents::load(const Chunk& chunk) const {
  if (chunk.bytes > chunkLimit) dropped(textOf(chunk.id) + u" chunk", u"longer than 16 MiB");
  return loadChunk(bytes(), chunk, chunkLimit);
}

void FileContents::keepForeign(const Chunk& chunk) {
  if (!isFiller(chunk.id)) keep(containers_.foreign, chunk);
}

void FileContents::setData(const Chunk& chunk) {
  if (data) return dropped(textOf(chunk.id) + u" chunk", u"the file has another one");
  data = chunk;
  if (!chunk.isTruncated() || chunk.size >= leastPipeSize) return;
  approximated(u"sample data", countText(chunk.size) + u" bytes",
               countText(chunk.bytes) + u" bytes, where the file ends");
}

bool FileContents::readId3Chunk(const Chunk& chunk) {
  keepKnown(chunk);
  id3_.push_back(chunk);
  return true;
}

void FileContents::addTo(Collection& collection) {
  // Last, because its texts say how they are encoded.
  for (const auto& chunk : id3_) readId3(loadChunk(bytes(), chunk, id3Limit), waveform->tags);
  collection.add(std::move(waveform));
}

Text countText(uint64_t count) {
  return fromUtf8(std::to_string(count));
}

}  // namespace tervo
