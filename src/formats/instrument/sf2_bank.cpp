#include "formats/instrument/sf2_bank.h"

#include <algorithm>
#include <cstring>

#include "base/byte_reader.h"
#include "base/last_error.h"
#include "formats/instrument/sf1_bank.h"
#include "formats/instrument/sf2_streams.h"
#include "formats/wave/info_tags.h"

namespace tervo::sf2 {
namespace {

constexpr uint64_t formHeaderBytes = 12;
constexpr uint32_t unknownSize = 0xFFFFFFFF;
constexpr int deepestList = 8;
// All that 16-bit indices can reach, and the record that ends the table; bounds the memory that a file of lies can
// take.
constexpr std::size_t mostRecords = (1u << 16) + 1;

class BankLoader {
 public:
  BankLoader(Bank& bank, Tags& tags, LossTally& losses, BankFormat format)
      : bank_(bank), tags_(tags), losses_(losses), format_(format) {}

  bool load(uint32_t formSize) {
    ChunkWalker walker(*bank_.source, formHeaderBytes, bank_.source->size());
    if (formSize != unknownSize) walker.setDeclaredEnd(uint64_t{formSize} + 8);
    if (!walk(walker, 0)) return false;
    if (bank_.lowBytes > 0 && bank_.lowBytes < bank_.words) noteFewLowBytes();
    if (walker.strayBytes() > 0) losses_.dropped(u"data behind the bank", u"it is no part of it");
    finishPresets();
    finishInstruments();
    finishSamples();
    if (format_ == BankFormat::soundFont1) {
      if (bank_.majorVersion != 1) return failForVersion();
      finishSf1(bank_);
      return true;
    }
    bank_.mayBeCompressed = bank_.hasPackedForm || bank_.majorVersion == 3;
    findPackedSamples(bank_, losses_);
    return true;
  }

 private:
  void loadChunk(const Chunk& chunk);

  bool walk(ChunkWalker& walker, int depth) {
    while (const auto chunk = walker.next()) {
      if (chunk->isTruncated()) losses_.dropped(u"end of the file", u"the file is cut off");
      if (chunk->id == FourCC("LIST")) {
        if (!onList(*chunk, depth)) return false;
        continue;
      }
      loadChunk(*chunk);
    }
    return true;
  }

  bool onList(const Chunk& list, int depth) {
    FourCC type;
    bank_.source->readAt(list.body, std::as_writable_bytes(std::span(type.chars)));
    if (type == FourCC("INFO")) return onInfo(list);
    if (depth == deepestList) return losses_.dropped(u"list in many lists", u"it is too deep"), true;
    ChunkWalker inner(*bank_.source, list.body + sizeof type, list.body + list.bytes);
    return walk(inner, depth + 1);
  }

  bool isExpected(int version) const {
    return format_ == BankFormat::soundFont1 ? version == 1 : version == 2 || version == 3;
  }
  bool failForVersion() const {
    return fail(format_ == BankFormat::soundFont1 ? u"Not a SoundFont v1.x file" : u"Not a Sound Font v2.x file");
  }

  bool onInfo(const Chunk& list) {
    std::vector<KeptInfo> others;
    readInfoTags(*bank_.source, list, tags_, &others);
    for (const KeptInfo& info : others) {
      if (info.id != FourCC("ifil") || info.body.size() < 4) {
        noteText(info.id);
        continue;
      }
      bank_.majorVersion = ByteReader(info.body).little<uint16_t>();
      if (!isExpected(bank_.majorVersion)) return failForVersion();
    }
    return true;
  }

  /// A text that is no tag. Those about the file and who made it do not count.
  void noteText(FourCC id) {
    constexpr FourCC aboutTheFile[] = {"ifil", "isng", "iver", infoSoftware};
    if (std::find(std::begin(aboutTheFile), std::end(aboutTheFile), id) != std::end(aboutTheFile)) return;
    const TextView what = id == FourCC("ICRD")   ? u"creation date"
                          : id == FourCC("irom") ? u"name of the sound ROM"
                                                 : u"text that no tag stands for";
    losses_.dropped(what, u"the document has no place for it");
  }

  std::vector<std::byte> bodyOf(const Chunk& chunk, std::size_t recordBytes) const {
    return bank_.source->readUpTo(chunk.body, chunk.bytes, mostRecords * recordBytes);
  }

  template <typename Record>
  void loadRecords(const Chunk& chunk, std::vector<Record>& records) {
    if (!records.empty()) losses_.dropped(u"table", u"another one of its kind follows");
    const auto bytes = bodyOf(chunk, sizeof(Record));
    records.resize(bytes.size() / sizeof(Record));
    if (!records.empty()) std::memcpy(records.data(), bytes.data(), records.size() * sizeof(Record));
    if (chunk.bytes > bytes.size()) return losses_.dropped(u"end of a table", u"it has more records than can be named");
    const bool isWhole = bytes.size() == records.size() * sizeof(Record) && bytes.size() == chunk.size;
    if (!isWhole) losses_.dropped(u"end of a table", u"it does not consist of whole records");
  }

  void onSamples(const Chunk& chunk) {
    bank_.samplesAt = chunk.body;
    bank_.sampleBytes = chunk.bytes;
    bank_.words = chunk.bytes / 2;
  }

  void onLowBytes(const Chunk& chunk) {
    const bool isAccepted = bank_.words == 0 || bank_.majorVersion == 3 || chunk.bytes >= bank_.words;
    if (!isAccepted) return noteFewLowBytes();
    bank_.lowBytesAt = chunk.body;
    bank_.lowBytes = chunk.bytes;
  }
  void noteFewLowBytes() { losses_.dropped(u"lower bytes of 24-bit samples", u"there are fewer than samples"); }

  /// The records up to the one that is named as the end; without one the last counts as the end if it has no zones.
  template <typename Record>
  void cutAt(std::vector<Record>& records, std::string_view endName, TextView what, std::size_t& bagsEnd,
             std::size_t bags) {
    const auto isEnd = [&](const Record& record) { return nameIn(record.name) == endName; };
    auto end = std::find_if(records.begin(), records.end(), isEnd);
    const std::size_t last = bags > 0 ? bags - 1 : 0;
    if (end == records.end() && !records.empty()) {
      losses_.dropped(what, u"the last record, which should end the table, is another one");
      if (records.back().firstBag >= last) --end;
    } else {
      noteBehind(records, end, what);
    }
    if (end != records.end() && end->firstBag > last) losses_.dropped(u"zones", u"they are not in the file");
    bagsEnd = end == records.end() ? last : std::min<std::size_t>(end->firstBag, last);
    records.erase(end, records.end());
  }

  void finishPresets() {
    cutAt(bank_.presets, "EOP", u"end of the presets", bank_.presetBagsEnd, bank_.presetZones.bags.size());
  }
  void finishInstruments() {
    cutAt(bank_.instruments, "EOI", u"end of the instruments", bank_.instrumentBagsEnd,
          bank_.instrumentZones.bags.size());
  }

  // A sample does not depend on the record behind it, so only a last record without content is taken for the end.
  void finishSamples() {
    auto& samples = bank_.samples;
    if (format_ == BankFormat::soundFont1)
      samples = sf1Samples(bodyOf(sampleRecords_, sf1SampleBytes), bodyOf(sampleNames_, sizeof(RecordName)));
    else
      loadRecords(sampleRecords_, samples);
    const auto end = std::find_if(samples.begin(), samples.end(),
                                  [](const SampleRecord& sample) { return nameIn(sample.name) == "EOS"; });
    if (end == samples.end()) {
      if (samples.empty()) return;
      losses_.dropped(u"end of the samples", u"the last record, which should end the table, is another one");
      if (samples.back().end == 0 && samples.back().sampleRate == 0) samples.pop_back();
      return;
    }
    noteBehind(samples, end, u"end of the samples");
    samples.erase(end, samples.end());
  }

  template <typename Records>
  void noteBehind(const Records& records, typename Records::iterator end, TextView what) {
    if (records.end() - end > 1) losses_.dropped(what, u"records stand behind the one that ends the table");
  }

  Bank& bank_;
  Tags& tags_;
  LossTally& losses_;
  BankFormat format_;
  Chunk sampleRecords_, sampleNames_;
};

void BankLoader::loadChunk(const Chunk& chunk) {
  using Load = void (*)(BankLoader&, const Chunk&);
  struct Handler {
    FourCC id;
    Load load;
  };
  // clang-format off
  static constexpr Handler handlers[] = {
      {"smpl", [](BankLoader& it, const Chunk& c) { it.onSamples(c); }},
      {"sm24", [](BankLoader& it, const Chunk& c) { it.onLowBytes(c); }},
      {"phdr", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.presets); }},
      {"pbag", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.presetZones.bags); }},
      {"pmod", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.presetZones.modulators); }},
      {"pgen", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.presetZones.generators); }},
      {"inst", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.instruments); }},
      {"ibag", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.instrumentZones.bags); }},
      {"imod", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.instrumentZones.modulators); }},
      {"igen", [](BankLoader& it, const Chunk& c) { it.loadRecords(c, it.bank_.instrumentZones.generators); }},
      {"shdr", [](BankLoader& it, const Chunk& c) { it.sampleRecords_ = c; }},
      {"snam", [](BankLoader& it, const Chunk& c) { it.sampleNames_ = c; }},
  };
  // clang-format on
  for (const Handler& handler : handlers)
    if (handler.id == chunk.id) return handler.load(*this, chunk);
  constexpr FourCC fillers[] = {"JUNK", "junk", "PAD ", "FLLR"};
  if (std::find(std::begin(fillers), std::end(fillers), chunk.id) == std::end(fillers))
    losses_.dropped(u"chunk that no standard names", u"the document has no place for it");
}

}  // namespace

std::unique_ptr<Bank> loadBank(std::shared_ptr<const ByteSource> source, Tags& tags, LossTally& losses,
                               BankFormat format) {
  std::array<std::byte, formHeaderBytes> head{};
  source->readAt(0, head);
  ByteReader reader(head);
  const FourCC form = reader.fourCC();
  const auto formSize = reader.little<uint32_t>();
  const FourCC type = reader.fourCC();
  if (form != FourCC("RIFF") || (type != FourCC("sfbk") && type != FourCC("sfpk")))
    return fail(u"Not a SoundFont2 file");
  auto bank = std::make_unique<Bank>();
  bank->source = std::move(source);
  bank->hasPackedForm = type == FourCC("sfpk");
  return BankLoader(*bank, tags, losses, format).load(formSize) ? std::move(bank) : nullptr;
}

}  // namespace tervo::sf2
