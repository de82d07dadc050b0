#include "formats/instrument/sfark.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/sfark_decoder.h"
#include "formats/instrument/sf2_reader.h"
#include "platform/path.h"

namespace tervo {
namespace {

struct ArchiveHeader {
  LittleU32 flags, originalBytes, packedBytes, check, headerCheck;
  uint8_t versionNeeded;  ///< tenths
  std::array<char, 5> version, signature;
  uint8_t method;
  LittleU16 fileType;
  LittleU32 samplesBegin, samplesEnd;
};
static_assert(sizeof(ArchiveHeader) == 42);
constexpr std::size_t longestName = 256;  // behind the header, with the zero that ends it

constexpr std::string_view signature = "sfArk";
constexpr uint32_t hasNotes = 1, hasLicence = 2;
constexpr uint8_t firstOfVersion2 = 3, nonAudio = 3, custom = 8, newestVersion = 29;

bool isArchive(const ArchiveHeader& header) {
  return std::string_view(header.signature.data(), header.signature.size()) == signature;
}

/// The header with its name has a checksum, for which the field of the checksum itself counts as 0.
bool isSound(std::span<const std::byte> head, const ArchiveHeader& header) {
  std::vector<std::byte> bytes(head.begin(), head.end());
  std::fill_n(bytes.begin() + offsetof(ArchiveHeader, headerCheck), sizeof header.headerCheck, std::byte{0});
  return sfArkCheck(0, bytes) == header.headerCheck;
}

/// Takes an archive apart, from front to back.
class ArchiveReader {
 public:
  explicit ArchiveReader(const SourceFile& file) : file_(file) {}

  /// The bank; empty with LastErrorText.
  std::vector<std::byte> unpack() {
    bytes_.resize(static_cast<std::size_t>(file_.bytes->size()));
    if (!file_.bytes->readExactly(0, bytes_) || !readHeader() || !readTexts()) return {};
    file_.host.showStatus(u"Decompressing sfArk");
    bool isStopped = false;
    auto bank = unpackSfArk(rest(), layout_, [&](double done) {
      isStopped = !file_.host.progress(done);
      return !isStopped;
    });
    if (bank.empty()) setLastErrorText(isStopped ? u"Open aborted!" : u"sfArk decompression failed");
    return bank;
  }

 private:
  std::span<const std::byte> rest() const { return std::span<const std::byte>(bytes_).subspan(position_); }

  bool readHeader() {
    ByteReader reader(bytes_);
    const auto header = reader.record<ArchiveHeader>();
    if (!reader.ok() || !isArchive(header)) return fail(u"Not an sfArk file");
    if (header.method < firstOfVersion2) return fail(u"sfArk v1 files are not supported");
    if (header.method > custom) return fail(u"Unknown sfArk compression type");
    if (header.method == nonAudio || header.method == custom || header.versionNeeded > newestVersion)
      return fail(u"Unsupported sfArk compression");
    const auto name = rest().subspan(sizeof header, std::min(longestName, bytes_.size() - sizeof header));
    const auto end = std::find(name.begin(), name.end(), std::byte{0});
    if (end == name.end()) return fail(u"sfArk decompression failed");
    position_ = sizeof header + static_cast<std::size_t>(end - name.begin()) + 1;
    if (!isSound(std::span<const std::byte>(bytes_).first(position_), header))
      return fail(u"sfArk decompression failed");
    layout_ = {static_cast<SfArkMethod>(header.method),
               header.originalBytes,
               header.samplesBegin,
               header.samplesEnd,
               header.check,
               0};
    flags_ = header.flags;
    return true;
  }

  /// The licence, then the notes, each with its packed size in front.
  bool readTexts() {
    for (const uint32_t flag : {hasLicence, hasNotes}) {
      if (!(flags_ & flag)) continue;
      ByteReader reader(rest());
      const auto packed = reader.take(reader.little<uint32_t>());
      const auto text = reader.ok() ? inflateSfArk(packed) : std::vector<std::byte>{};
      if (text.empty()) return fail(u"sfArk decompression failed");
      layout_.checkBefore = sfArkCheck(layout_.checkBefore, text);
      position_ += reader.position();
      const std::string_view chars(reinterpret_cast<const char*>(text.data()), text.size());
      file_.report.dropped(platform::fileNameOf(file_.path), flag == hasLicence ? u"licence" : u"notes",
                           fromFileText(chars));
    }
    return true;
  }

  const SourceFile& file_;
  std::vector<std::byte> bytes_;
  std::size_t position_ = 0;
  uint32_t flags_ = 0;
  SfArkLayout layout_;
};

}  // namespace

int detectSfArk(std::span<const std::byte> head, uint32_t, uint64_t) {
  ByteReader reader(head);
  const auto header = reader.record<ArchiveHeader>();
  return reader.ok() && isArchive(header) ? 6 : 0;
}

bool readSfArk(Collection& collection, const SourceFile& file, uint32_t) {
  auto bank = ArchiveReader(file).unpack();
  if (bank.empty()) return false;
  file.host.showStatus(u"Reading SF2");
  const SourceFile unpacked{std::make_shared<MemorySource>(std::move(bank)), file.path, file.host, file.report,
                            file.settings};
  return readSf2(collection, unpacked, 0);
}

}  // namespace tervo
