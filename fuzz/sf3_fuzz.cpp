// Compressed banks, SoundFont 1 banks and sfArk archives of any content: read, every sample streamed to its end, and
// copied. The first byte says what the rest is.

#include <cstdlib>
#include <vector>

#include "base/last_error.h"
#include "core/collection.h"
#include "formats/codec/compressed_stream.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"
#include "formats/instrument/sfark.h"
#include "fuzz/collection_frames.h"

namespace {

using namespace tervo;

constexpr ReadFn readers[] = {readSf2, readSf1, readSfArk};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto bytes = std::as_bytes(std::span(data, size)).subspan(1);
  Host host;
  ConversionReport report;
  const Settings settings;
  Collection collection;
  const SourceFile file{std::make_shared<MemorySource>(std::vector(bytes.begin(), bytes.end())), u"a.sf3", host, report,
                        settings};
  if (!readers[data[0] % std::size(readers)](collection, file, 0)) return 0;
  if (!readAllSamples(collection, 1 << 18) && LastErrorText() != damagedStream) std::abort();
  if (framesOf(collection) > 1 << 16) return 0;
  MemorySink sink;
  TargetFile target{sink, u"b.sf3", host, report, settings, FormatTable()[394], {}};
  writeSf2(collection, target, compressedBank);
  return 0;
}
