// SoundFont banks of any content: read, every sample streamed to its end, written, and read again. What was written
// must read as a bank with the same instruments, regions and frames. How regions stand in layers may differ: the halves
// of a pair that are not named as such lose their link.

#include <cstdlib>
#include <vector>

#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"
#include "formats/save_flow.h"
#include "fuzz/collection_frames.h"

namespace {

using namespace tervo;

struct Document {
  Host host;
  ConversionReport report;
  Settings settings;
  Collection collection;

  bool read(std::vector<std::byte> bytes) {
    return readSf2(collection, {std::make_shared<MemorySource>(std::move(bytes)), u"a.sf2", host, report, settings}, 0);
  }
  bool write(const Item& item, std::vector<std::byte>& bytes) {
    MemorySink sink;
    TargetFile file{sink, u"b.sf2", host, report, settings, FormatTable()[392], {}};
    const bool ok = writeSf2(item, file, 0);
    bytes = sink.take();
    return ok;
  }
};

std::size_t regionsOf(const Collection& collection) {
  std::size_t count = 0;
  for (const auto& instrument : collection.instruments()) count += instrument->regionCount();
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  Document first, again;
  if (!first.read({bytes.begin(), bytes.end()})) return 0;
  if (!readAllSamples(first.collection, 1 << 20)) std::abort();
  // Many samples may be made of the same words.
  if (regionsOf(first.collection) > 2000 || framesOf(first.collection) > 1 << 20) return 0;
  std::vector<std::byte> written;
  const auto writeAlone = [&](const auto& items) {
    if (!items.empty() && first.write(*items[0], written) && !Document().read(written)) std::abort();
  };
  writeAlone(first.collection.instruments());
  writeAlone(first.collection.waveforms());
  if (!first.write(first.collection, written)) return 0;
  if (!again.read(std::move(written))) std::abort();
  // Waveforms that nothing plays get presets where there is none.
  const std::size_t instruments = first.collection.instruments().size();
  if (instruments > 0 && again.collection.instruments().size() != instruments) std::abort();
  if (instruments > 0 && regionsOf(again.collection) != regionsOf(first.collection)) std::abort();
  if (framesOf(again.collection) != framesOf(first.collection)) std::abort();
  return 0;
}
