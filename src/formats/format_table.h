#pragma once
// The format table: 543 rows, one for each way of reading or writing one kind of file, in alphabetical order of
// extension. A row is addressed by its index; a codec contributes its row's operations and nothing else.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "base/byte_source.h"
#include "base/endian.h"
#include "core/host.h"
#include "core/report.h"
#include "core/sample_format.h"
#include "core/settings.h"

namespace tervo {

class Collection;
class Item;
class Waveform;

using FormatIndex = int;
inline constexpr FormatIndex noFormat = -1;
inline constexpr std::size_t formatCount = 543;

/// How bytes without a header are read; the defaults are those of row 0.
struct RawLayout {
  SampleFormatWord format = formatWord(SampleFormat::pcm16);
  int channels = 1;
  double sampleRate = 44100;  ///< Hz
  uint64_t offset = 0;        ///< bytes before the samples
};

/// What the user has said about bytes without a header. The rest is as usual for the row.
struct RawRequest {
  std::optional<SampleFormat> format = {};
  std::optional<ByteOrder> byteOrder = {};
  bool isUnsigned = false;
  bool splitChannels = false;
  std::optional<int> channels = {};
  std::optional<double> sampleRate = {};  ///< Hz
  uint64_t offset = 0;                    ///< bytes before the samples
  std::optional<uint64_t> bytes = {};     ///< of samples; nothing: all that follow

  bool operator==(const RawRequest&) const = default;
};

/// A file being read, and what its reader may use.
struct SourceFile {
  std::shared_ptr<const ByteSource> bytes;
  Text path;
  Host& host;
  ConversionReport& report;
  const Settings& settings;
  RawRequest raw = {};
};

/// What the user asked for when saving.
struct SaveOptions {
  std::optional<SampleCoding> coding = {};  ///< nothing: what the source had, as far as the row can hold it
  std::optional<SampleFormat> format = {};  ///< goes before `coding`: a format that no coding stands for
  std::optional<double> sampleRate = {};    ///< Hz
  std::optional<int> channels = {};         ///< 1 or 2
  double kbitPerSecond = 0;                 ///< for compressed codings; 0: the coding's own
};

/// A file being written, and what its writer may use. The saving frame owns the file and puts it in place.
struct TargetFile {
  ByteSink& sink;
  Text path;
  Host& host;
  ConversionReport& report;
  const Settings& settings;
  const struct FormatDescriptor& row;
  SaveOptions options;
};

/// Reads an open file into the collection. False with LastErrorText.
using ReadFn = bool (*)(Collection& collection, const SourceFile& file, uint32_t variant);
/// Writes one item. False with LastErrorText.
using WriteFn = bool (*)(const Item& item, TargetFile& file, uint32_t variant);
/// Scores a file's first bytes: 0 not this format, 2 only the extension can tell, up to 6 certain.
using DetectFn = int (*)(std::span<const std::byte> head, uint32_t variant, uint64_t fileSize);
/// A further operation of coders that write compressed data; no row has one yet.
using OptionsFn = bool (*)(SaveOptions& options, uint32_t variant);

// Bits 0-7 of the format flags: sample formats that the writer accepts.
namespace BitDepthMask {
inline constexpr uint32_t pcm8 = 0x01, pcm12 = 0x02, pcm16 = 0x04, pcm20 = 0x08, pcm24 = 0x10, pcm32 = 0x20,
                          float32 = 0x40, float64 = 0x80;
}
// Bits 8-15: coded formats that the writer accepts.
namespace CodedFormatMask {
inline constexpr uint32_t muLaw = 0x0100, aLaw = 0x0200, gsm = 0x0400, adpcm2 = 0x0800, adpcm3 = 0x1000,
                          adpcm4 = 0x2000, adpcm5 = 0x4000, raw8 = 0x8000;
}
// Bits 16-31.
namespace FormatFlags {
inline constexpr uint32_t littleEndianWords = 0x00010000;  ///< only the two headerless little-endian 16-bit rows
inline constexpr uint32_t compressed = 0x00020000;         ///< the writer can write compressed data
inline constexpr uint32_t textDefinition = 0x00040000;     ///< the two rows that write text definitions
inline constexpr uint32_t songs = 0x00080000;              ///< the writer writes songs; other rows have them rendered
inline constexpr uint32_t mono = 0x00100000;
inline constexpr uint32_t stereo = 0x00200000;
inline constexpr uint32_t stereoWaves = 0x02000000;  ///< counts as stereo in the channel rule
}  // namespace FormatFlags

// Operations that a row is meant to have.
namespace DeclaredOps {
inline constexpr uint8_t read = 1, write = 2, detect = 4;
}

struct FormatDescriptor {
  TextView extension;  ///< without the dot, compared without regard to case; '?' is any character, '*' the rest
  TextView description;
  uint8_t declared;  ///< DeclaredOps
  uint8_t kindMask;  ///< bit k: the format can hold items of kind k
  uint32_t flags;    ///< BitDepthMask | CodedFormatMask | FormatFlags
  uint32_t variant;  ///< passed unchanged to the operations
  ReadFn read = nullptr;
  WriteFn write = nullptr;
  DetectFn detect = nullptr;
  OptionsFn options = nullptr;
};

/// The table; null operations of a row that declares them are formats known but not handled yet.
const std::array<FormatDescriptor, formatCount>& FormatTable();

/// The row of an index; null outside the table.
const FormatDescriptor* rowAt(FormatIndex index);
/// The row's description; "Unknown file type" outside the table.
TextView descriptionOf(FormatIndex index);

/// The first row with this extension that can write; noFormat when there is none.
FormatIndex writerForExtension(TextView extension);

struct WriterInfo {
  uint32_t flags = 0;
  uint32_t variant = 0;
};
/// The row's flags and variant; for a row without a writer those of the next row with the same extension that has one.
WriterInfo WriterFlags(FormatIndex index);
/// The channel count that the row will write for a waveform: 1 or 2; for an item that holds waveforms that count if it
/// is the same for all of them, else 0 ("Mixed").
int WriterChannels(FormatIndex index, const Item& item);

/// Whether the extension fits the row's pattern.
bool matchesExtension(TextView extension, TextView pattern);

}  // namespace tervo
