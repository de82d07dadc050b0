#include "core/history/state_file.h"

#include "base/last_error.h"
#include "base/memory_guard.h"
#include "core/history/document_body.h"

namespace tervo {
namespace {

constexpr FourCC magic = "TvSt";

// The number of records that follows belongs to the document's body.
struct StateHeader {
  FourCC magic;
  LittleU32 version;
};
static_assert(sizeof(StateHeader) == 8);

bool checkHeader(const StateHeader& header, bool isWhole) {
  if (!isWhole || header.magic != magic) return fail(u"Not a program state file");
  return header.version == stateVersion || fail(u"Wrong state version");
}

class StateReader {
 public:
  StateReader(const std::shared_ptr<const LoadedBytes>& bytes, OpenStored openStored)
      : head_(bytes->span()), attachments_(bytes, openStored), body_(bytes->span(), attachments_) {}

  /// Into an empty collection.
  bool read(Collection& loaded) {
    const auto header = head_.record<StateHeader>();
    if (!checkHeader(header, head_.ok())) return false;
    // Positions count from the beginning of the file, as its floats are aligned to it.
    body_.skip(sizeof header);
    bodies::readDocument(body_, loaded);
    if (attachments_.openingFailed()) return false;
    return body_.atEnd() || fail(u"The program state file is damaged");
  }
  /// Once those that had them are gone.
  void takeIdentities() { body_.takeIdentities(); }

 private:
  ByteReader head_;
  FileAttachments attachments_;
  BodyReader body_;
};

bool read(Collection& document, const std::shared_ptr<const LoadedBytes>& bytes, OpenStored openStored) {
  StateReader reader(bytes, openStored);
  {
    Collection loaded;
    if (!reader.read(loaded)) return false;
    document.swapContent(loaded);
  }
  reader.takeIdentities();
  return true;
}

std::shared_ptr<const LoadedBytes> load(TextView path) {
  const auto file = platform::InputFile::open(path);
  if (!file) return nullptr;
  file->expectSequentialReads();
  return LoadedBytes::load(*file);
}

}  // namespace

bool writeState(ByteSink& sink, const ItemImage& document, OpenStored openStored) {
  return guardMemory([&] {
    ByteWriter writer(sink);
    writer.record(StateHeader{magic, stateVersion});
    const std::span<const std::byte> body(document.body);
    std::size_t done = 0;
    for (const Attachment& attachment : document.attachments) {
      writer.bytes(body.subspan(done, attachment.position - done));
      done = attachment.position;
      if (!writer.ok() || !writeAttachment(writer, attachment.data, openStored)) return false;
    }
    writer.bytes(body.subspan(done));
    return writer.ok();
  });
}

bool writeStateFile(TextView path, const ItemImage& document, OpenStored openStored, platform::Replace replace) {
  const auto file = platform::OutputFile::create(path, replace);
  return file && writeState(*file, document, openStored) && file->commit();
}

bool readState(Collection& document, std::shared_ptr<const LoadedBytes> bytes, OpenStored openStored) {
  return guardMemory([&] { return read(document, bytes, openStored); });
}

bool readStateFile(Collection& document, TextView path, OpenStored openStored) {
  auto bytes = load(path);
  return bytes && readState(document, std::move(bytes), openStored);
}

std::optional<Text> documentNameIn(TextView path, OpenStored openStored) {
  const auto bytes = load(path);
  std::optional<Text> name;
  const auto readName = [&] {
    Collection loaded;
    if (!StateReader(bytes, openStored).read(loaded)) return false;
    name = loaded.name;
    return true;
  };
  if (bytes) guardMemory(readName);
  return name;
}

std::optional<StateSummary> stateSummary(const ByteSource& file) {
  const auto bytes = file.readUpTo(0, 12, 12);
  ByteReader reader(bytes);
  const auto header = reader.record<StateHeader>();
  const auto records = reader.little<uint32_t>();
  if (!reader.ok() || header.magic != magic) return fail(u"Not a program state file");
  // Every item's identifier stands in its own record and in a list of the collection's.
  const bool fits = records > 0 && records - 1 <= (file.size() - bytes.size()) / (2 * sizeof(ItemId));
  if (header.version == stateVersion && !fits) return fail(u"The program state file is damaged");
  return StateSummary{header.version, records};
}

}  // namespace tervo
