#include "formats/format_table.h"

#include <iterator>

#include "core/item.h"
#include "formats/detect_shared.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"
#include "formats/instrument/sfark.h"
#include "formats/midi/midi_file.h"
#include "formats/wave/aiff_reader.h"
#include "formats/wave/aiff_writer.h"
#include "formats/wave/raw_adpcm.h"
#include "formats/wave/raw_dvd.h"
#include "formats/wave/raw_pcm.h"
#include "formats/wave/raw_telephony.h"
#include "formats/wave/w64_reader.h"
#include "formats/wave/w64_writer.h"
#include "formats/wave/wav_reader.h"
#include "formats/wave/wav_writer.h"

namespace tervo {
namespace {

using namespace DeclaredOps;
using enum SampleFormat;
constexpr uint8_t RD = read | detect, RWD = read | write | detect, W = write;
constexpr auto null = nullptr;

// clang-format off
#define ROW(index, extension, description, ops, kinds, flags, variant, readOp, writeOp, detectOp) \
  FormatDescriptor{u##extension, u##description, ops, kinds, flags, variant, readOp, writeOp, detectOp},
constexpr std::array<FormatDescriptor, formatCount> table = {
#include "formats/format_rows.inl"
};
#undef ROW

#define ROW(index, ...) index,
constexpr int indices[] = {
#include "formats/format_rows.inl"
};
#undef ROW
// clang-format on

constexpr bool indicesAscend() {
  for (std::size_t i = 0; i < formatCount; ++i)
    if (indices[i] != static_cast<int>(i)) return false;
  return std::size(indices) == formatCount;
}

constexpr std::size_t rowsWith(uint32_t flag) {
  std::size_t count = 0;
  for (const auto& row : table) count += (row.flags & flag) != 0;
  return count;
}

constexpr bool operationsAreDeclared(const FormatDescriptor& row) {
  return (row.read == nullptr || (row.declared & read)) && (row.write == nullptr || (row.declared & write)) &&
         (row.detect == nullptr || (row.declared & detect)) && (row.read == nullptr) == (row.detect == nullptr);
}

/// Flags belong to writers, and the song flag to exactly those that can hold songs.
constexpr bool flagsFit(const FormatDescriptor& row) {
  const bool writes = row.declared & write;
  const bool writesSongs = writes && (row.kindMask & kindBit(ItemKind::song));
  return writes == (row.flags != 0) && writesSongs == ((row.flags & FormatFlags::songs) != 0) &&
         !(row.flags & 0xFD000000);
}

template <typename Check>
constexpr bool everyRow(Check check) {
  for (const auto& row : table)
    if (!check(row)) return false;
  return true;
}

static_assert(indicesAscend());
static_assert(everyRow(operationsAreDeclared));
static_assert(everyRow(flagsFit));
static_assert(everyRow([](const FormatDescriptor& row) {
  return !row.extension.empty() && !row.description.empty() && row.kindMask != 0 && row.declared != 0;
}));
static_assert(rowsWith(FormatFlags::textDefinition) == 2);
static_assert(rowsWith(FormatFlags::littleEndianWords) == 2);
static_assert(rowsWith(CodedFormatMask::raw8) == 2);

}  // namespace

const std::array<FormatDescriptor, formatCount>& FormatTable() {
  return table;
}

const FormatDescriptor* rowAt(FormatIndex index) {
  return index >= 0 && static_cast<std::size_t>(index) < formatCount ? &table[static_cast<std::size_t>(index)]
                                                                     : nullptr;
}

TextView descriptionOf(FormatIndex index) {
  const FormatDescriptor* row = rowAt(index);
  return row ? row->description : u"Unknown file type";
}

bool matchesExtension(TextView extension, TextView pattern) {
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] == u'*') return true;
    if (i == extension.size()) return false;
    if (pattern[i] != u'?' && upper(pattern[i]) != upper(extension[i])) return false;
  }
  return extension.size() == pattern.size();
}

FormatIndex writerForExtension(TextView extension) {
  for (FormatIndex i = 0; const FormatDescriptor* row = rowAt(i); ++i)
    if (row->write && matchesExtension(extension, row->extension)) return i;
  return noFormat;
}

}  // namespace tervo
