#pragma once
// SoundFont banks made in memory, record by record, with any lie in them; reading and writing without a disk.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/instrument/sf2_reader.h"
#include "formats/instrument/sf2_writer.h"

namespace tervo::test {

/// A chunk's body that grows by numbers of any width.
class ChunkBody {
 public:
  template <typename... Numbers>
  ChunkBody& add(Numbers... numbers) {
    ByteWriter writer(sink_);
    (writer.little(numbers), ...);
    return *this;
  }
  ChunkBody& text(std::string_view text, std::size_t width = 20) {
    ByteWriter writer(sink_);
    writer.chars(text);
    writer.zeros(width - text.size());
    return *this;
  }
  uint16_t count(std::size_t width) const { return static_cast<uint16_t>(sink_.bytes().size() / width); }
  const std::vector<std::byte>& bytes() const { return sink_.bytes(); }

 private:
  MemorySink sink_;
};

struct Amount {
  int generator;
  int amount;
};
struct Mod {
  int source, destination, amount;
  int amountSource = 0, transform = 0;
};
struct Zone {
  std::vector<Amount> generators;
  std::vector<Mod> modulators = {};
};
struct Sample {
  std::string_view name = "Sample";
  uint32_t start = 0, end = 64, loopStart = 8, loopEnd = 56;
  uint16_t link = 0, type = 1;
  uint8_t key = 60;
  int8_t cents = 0;
};

class BankBuilder {
 public:
  ChunkBody phdr, pbag, pmod, pgen, inst, ibag, imod, igen, shdr, smpl, sm24, snam;
  bool ends = true;  ///< the records that end the tables
  uint16_t version = 2;
  std::string form = "sfbk";
  ChunkBody info = {};
  bool padded = true;
  bool versionComesLast = false;
  std::string behind;  ///< what stands behind the last list

  BankBuilder() {
    for (int16_t word = 0; word < 200; ++word) smpl.add(static_cast<int16_t>(word * 163 - 16000));
  }
  BankBuilder& preset(std::string_view name, int program, int bank, const std::vector<Zone>& zones) {
    phdr.text(name).add(u16(program), u16(bank), pbag.count(4), uint32_t{0}, uint32_t{0}, uint32_t{0});
    addZones(zones, pbag, pgen, pmod);
    return *this;
  }
  BankBuilder& instrument(std::string_view name, const std::vector<Zone>& zones) {
    inst.text(name).add(ibag.count(4));
    addZones(zones, ibag, igen, imod);
    return *this;
  }
  BankBuilder& sample(const Sample& sample) {
    if (version == 1) {
      snam.text(sample.name);
      shdr.add(sample.start, sample.end, sample.loopStart, sample.loopEnd);
      return *this;
    }
    shdr.text(sample.name).add(sample.start, sample.end, sample.loopStart, sample.loopEnd, uint32_t{22050});
    shdr.add(sample.key, sample.cents, sample.link, sample.type);
    return *this;
  }
  std::vector<std::byte> build() const {
    BankBuilder whole = *this;
    if (ends) whole.addEnds();
    return whole.chunks();
  }

 private:
  static uint16_t u16(int value) { return static_cast<uint16_t>(value); }
  static void addZones(const std::vector<Zone>& zones, ChunkBody& bags, ChunkBody& generators, ChunkBody& modulators) {
    for (const Zone& zone : zones) {
      bags.add(generators.count(4), modulators.count(10));
      for (const Amount& each : zone.generators) generators.add(u16(each.generator), u16(each.amount));
      for (const Mod& each : zone.modulators)
        modulators.add(u16(each.source), u16(each.destination), u16(each.amount), u16(each.amountSource),
                       u16(each.transform));
    }
  }
  void addEnds() {
    phdr.text("EOP").add(uint32_t{0}, pbag.count(4)).text("", 12);
    pbag.add(pgen.count(4), pmod.count(10));
    pmod.text("", 10);
    pgen.text("", 4);
    inst.text("EOI").add(ibag.count(4));
    ibag.add(igen.count(4), imod.count(10));
    imod.text("", 10);
    igen.text("", 4);
    if (version == 1)
      sample({"EOS", 0, 0, 0, 0});
    else
      shdr.text("EOS").text("", 26);
  }
  void chunk(ByteWriter& writer, std::string_view id, const std::vector<std::byte>& body) const {
    writer.chars(id);
    writer.little(static_cast<uint32_t>(body.size()));
    writer.bytes(body);
    if (padded && body.size() % 2 == 1) writer.u8(0);
  }
  using Part = std::pair<std::string_view, const ChunkBody*>;
  void list(ByteWriter& writer, std::string_view type, const std::vector<Part>& parts) const {
    MemorySink body;
    ByteWriter inner(body);
    inner.chars(type);
    for (const auto& [id, part] : parts)
      if (!part->bytes().empty()) chunk(inner, id, part->bytes());
    chunk(writer, "LIST", body.bytes());
  }
  std::vector<std::byte> chunks() const {
    MemorySink sink;
    ByteWriter writer(sink);
    writer.chars("RIFF");
    writer.little(uint32_t{0xFFFFFFFF});
    writer.chars(form);
    ChunkBody ifil;
    ifil.add(version, uint16_t{1});
    std::vector<Part> texts = {{"ifil", &ifil}, {"INAM", &info}};
    if (versionComesLast) std::swap(texts[0], texts[1]);
    list(writer, "INFO", texts);
    list(writer, "sdta", {{"snam", &snam}, {"smpl", &smpl}, {"sm24", &sm24}});
    list(writer, "pdta",
         {{"phdr", &phdr},
          {"pbag", &pbag},
          {"pmod", &pmod},
          {"pgen", &pgen},
          {"inst", &inst},
          {"ibag", &ibag},
          {"imod", &imod},
          {"igen", &igen},
          {"shdr", &shdr}});
    writer.chars(behind);
    return sink.take();
  }
};

/// A zone that plays the sample.
inline Zone playing(int sample, std::vector<Amount> generators = {}, std::vector<Mod> modulators = {}) {
  generators.push_back({53, sample});
  return {std::move(generators), std::move(modulators)};
}

inline bool says(const ConversionReport& report, TextView what) {
  const auto& entries = report.entries();
  return std::any_of(entries.begin(), entries.end(),
                     [what](const ReportEntry& entry) { return entry.what.find(what) != Text::npos; });
}

/// One preset with one zone, one instrument with one zone, one looped sample.
inline BankBuilder smallBank(Zone instrument = {}, Zone preset = {}) {
  instrument.generators.push_back({53, 0});
  preset.generators.push_back({41, 0});
  BankBuilder bank;
  bank.preset("Preset", 5, 3, {preset}).instrument("Instrument", {instrument}).sample({});
  return bank;
}

/// A bank that was read, or why it was not.
struct ReadBank {
  Collection collection;
  ConversionReport report;
  bool ok = false;
  Text error;

  explicit ReadBank(std::vector<std::byte> bytes) {
    Host host;
    read(std::move(bytes), host);
  }
  ReadBank(std::vector<std::byte> bytes, Host& host) { read(std::move(bytes), host); }
  ReadBank(std::vector<std::byte> bytes, ReadFn reader) {
    Host host;
    read(std::move(bytes), host, reader);
  }
  void read(std::vector<std::byte> bytes, Host& host, ReadFn reader = readSf2) {
    const Settings settings;
    ok = reader(collection, {std::make_shared<MemorySource>(std::move(bytes)), u"bank.sf2", host, report, settings}, 0);
    if (!ok) error = LastErrorText();
  }
  const Instrument& instrument(std::size_t i = 0) const { return *collection.instruments()[i]; }
  const Region& region(std::size_t layer = 0, std::size_t i = 0) const {
    return *instrument().layers()[layer]->regions()[i];
  }
};

inline bool says(const ReadBank& bank, TextView what) {
  return says(bank.report, what);
}

/// A bank of these streams, one sample each.
inline BankBuilder bankOf(const std::vector<std::vector<std::byte>>& streams, uint16_t type = 17) {
  BankBuilder bank = smallBank();
  bank.version = 3;
  bank.shdr = {};
  bank.smpl = {};
  uint32_t at = 0;
  for (const auto& stream : streams) {
    const auto end = at + static_cast<uint32_t>(stream.size());
    bank.sample({.start = at, .end = end, .loopStart = 3, .loopEnd = 60, .type = type});
    for (const std::byte byte : stream) bank.smpl.add(std::to_integer<uint8_t>(byte));
    at = end;
  }
  return bank;
}

struct WrittenBank {
  std::vector<std::byte> bytes;
  ConversionReport report;
  bool ok = false;
};
inline WrittenBank writeBank(const Item& item, SaveOptions options = {}, uint32_t variant = 0) {
  WrittenBank written;
  MemorySink sink;
  Host host;
  const Settings settings;
  const FormatDescriptor& row = FormatTable()[variant == compressedBank ? 394 : 392];
  TargetFile file{sink, u"bank", host, written.report, settings, row, options};
  written.ok = writeSf2(item, file, variant);
  written.bytes = sink.take();
  return written;
}

}  // namespace tervo::test
