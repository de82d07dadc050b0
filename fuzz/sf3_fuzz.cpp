// Compressed banks, SoundFont 1 banks and sfArk archives of any content: read, every sample streamed to its end, and
// saved as a compressed and as a plain bank, which must be readable. The first byte says what the rest is.

#include <cstdlib>
#include <vector>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/compressed_stream.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"
#include "formats/instrument/sfark.h"
#include "fuzz/collection_frames.h"
#include "tests/formats/instrument/sfark_archive.h"

namespace {

using namespace tervo;

constexpr ReadFn readers[] = {readSf2, readSf1, readSfArk};

struct Document {
  Host host;
  ConversionReport report;
  Settings settings;
  Collection collection;

  bool read(std::vector<std::byte> bytes, ReadFn reader) {
    return reader(collection, {std::make_shared<MemorySource>(std::move(bytes)), u"a.sf3", host, report, settings}, 0);
  }
  bool write(std::vector<std::byte>& bytes, std::size_t row) {
    MemorySink sink;
    TargetFile file{sink, u"b.sf3", host, report, settings, FormatTable()[row], {}};
    const bool ok = writeSf2(collection, file, FormatTable()[row].variant);
    bytes = sink.take();
    return ok;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto bytes = std::as_bytes(std::span(data, size)).subspan(1);
  const ReadFn reader = readers[data[0] % std::size(readers)];
  std::vector<std::byte> input(bytes.begin(), bytes.end());
  if (reader == readSfArk) test::correctSfArkHeader(input);
  Document first;
  if (!first.read(std::move(input), reader)) return 0;
  if (!readAllSamples(first.collection, 1 << 18) && LastErrorText() != damagedStream) std::abort();
  if (framesOf(first.collection) > 1 << 16) return 0;
  for (const std::size_t row : {std::size_t{392}, std::size_t{394}}) {
    std::vector<std::byte> written;
    if (!first.write(written, row)) continue;
    Document again;
    if (!again.read(std::move(written), readSf2)) std::abort();
    // Waveforms that nothing plays get presets where there is none.
    const std::size_t instruments = first.collection.instruments().size();
    if (instruments > 0 && again.collection.instruments().size() != instruments) std::abort();
  }
  return 0;
}
