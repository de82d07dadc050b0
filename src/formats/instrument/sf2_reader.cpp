#include "formats/instrument/sf2_reader.h"

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/instrument/sf2_presets.h"
#include "formats/instrument/sf2_samples.h"
#include "formats/instrument/sf2_stereo_pairs.h"
#include "platform/path.h"

namespace tervo {
namespace {

constexpr std::size_t firstListAt = 12;

/// The major version, from "ifil" in the first list; nothing where it is not there.
std::optional<int> versionIn(std::span<const std::byte> head) {
  ByteReader reader(head.subspan(std::min(head.size(), firstListAt)));
  const FourCC list = reader.fourCC();
  std::size_t left = reader.little<uint32_t>();
  if (list != FourCC("LIST") || reader.fourCC() != FourCC("INFO")) return std::nullopt;
  for (left -= std::min<std::size_t>(left, 4); reader.ok() && left >= 8;) {
    const FourCC id = reader.fourCC();
    const std::size_t size = reader.little<uint32_t>();
    if (id == FourCC("ifil")) {
      const int major = reader.little<uint16_t>();
      return reader.ok() ? std::optional(major) : std::nullopt;
    }
    const std::size_t padded = size + size % 2;
    reader.skip(padded);
    left -= std::min(left, 8 + padded);
  }
  return std::nullopt;
}

}  // namespace

int detectSf2(std::span<const std::byte> head, uint32_t variant, uint64_t) {
  ByteReader reader(head);
  const FourCC form = reader.fourCC();
  reader.skip(4);
  const FourCC type = reader.fourCC();
  if (!reader.ok() || form != FourCC("RIFF") || (type != FourCC("sfbk") && type != FourCC("sfpk"))) return 0;
  const int version = versionIn(head).value_or(2);
  // For the reader to say what is wrong; a row that knows the version goes before, audio in RIFF does not.
  if (version != 2 && version != 3) return variant == compressedBank ? 0 : 2;
  const bool isCompressed = version == 3 || type == FourCC("sfpk");
  return isCompressed == (variant == compressedBank) ? 6 : 5;
}

int detectSf1(std::span<const std::byte> head, uint32_t, uint64_t) {
  ByteReader reader(head);
  const bool isRiff = reader.fourCC() == FourCC("RIFF");
  reader.skip(4);
  const bool isBank = reader.fourCC() == FourCC("sfbk");
  return reader.ok() && isRiff && isBank && versionIn(head) == 1 ? 6 : 0;
}

namespace {

bool readBank(Collection& collection, const SourceFile& file, sf2::BankFormat format) {
  LossTally losses;
  const auto bank = sf2::loadBank(file.bytes, collection.tags, losses, format);
  if (!bank) return false;
  const auto waveforms = sf2::addWaveforms(collection, *bank, file, losses);
  if (!waveforms) return false;
  sf2::addInstruments(collection, *bank, *waveforms, file, losses);
  sf2::noteLostLinks(*bank, *waveforms, collection, file.report);
  if (bank->presets.empty() && bank->samples.empty()) losses.dropped(u"content", u"the bank holds nothing");
  losses.reportTo(file.report, platform::fileNameOf(file.path));
  return true;
}

}  // namespace

bool readSf1(Collection& collection, const SourceFile& file, uint32_t) {
  return readBank(collection, file, sf2::BankFormat::soundFont1);
}
bool readSf2(Collection& collection, const SourceFile& file, uint32_t) {
  return readBank(collection, file, sf2::BankFormat::soundFont2);
}

}  // namespace tervo
