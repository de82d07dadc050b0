// The hierarchy of presets, instruments, zones and samples, as it should be and as it is in broken files.

#include <gtest/gtest.h>

#include <algorithm>

#include "core/levels.h"
#include "tests/formats/flow_fixture.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

using P = ParameterId;
using namespace std::string_literals;

constexpr int range(int low, int high) {
  return low | high << 8;
}

TEST(Sf2Reader, readsPresetsAsInstruments) {
  const ReadBank bank(BankBuilder()
                          .preset("Drums", 0, 128, {})
                          .preset("Twenty letters long.", 130, 8, {{{{41, 0}}}})
                          .preset("T\xF6ne", 3, 0, {})
                          .instrument("Instrument", {playing(0)})
                          .sample({.name = "S", .cents = -7})
                          .build());
  ASSERT_EQ(bank.collection.instruments().size(), 3u);
  EXPECT_TRUE(bank.instrument().drum);
  EXPECT_EQ(bank.instrument().bankMsb, 0);
  EXPECT_EQ(bank.instrument(1).name, u"Twenty letters long.");
  EXPECT_EQ(bank.instrument(1).program, 2);
  EXPECT_EQ(bank.instrument(1).bankMsb, 8);
  EXPECT_EQ(bank.instrument(2).name, u"T\u00F6ne");
  const Waveform& waveform = *bank.collection.waveforms()[0];
  EXPECT_EQ(waveform.fineTune, -7);
  EXPECT_EQ(waveform.sampleRate, 22050);
  EXPECT_EQ(mainLoop(waveform)->start, 8);
  EXPECT_EQ(mainLoop(waveform)->end, 56);
}

TEST(Sf2Reader, intersectsRangesAndDropsWhatIsEmpty) {
  const std::vector<Zone> zones = {playing(0, {{43, range(0, 59)}, {44, range(0, 64)}}),
                                   playing(0, {{43, range(60, 127)}}), playing(0, {{43, range(90, 80)}})};
  const ReadBank bank(BankBuilder()
                          .preset("P", 0, 0, {{{{43, range(40, 61)}, {44, range(50, 127)}, {41, 0}}}})
                          .instrument("I", zones)
                          .sample({})
                          .build());
  ASSERT_EQ(bank.instrument().regionCount(), 2u);
  EXPECT_EQ(keyRange(bank.region(0, 0)), (Range{40, 59}));
  EXPECT_EQ(velocityRange(bank.region(0, 0)), (Range{50, 64}));
  EXPECT_EQ(keyRange(bank.region(0, 1)), (Range{60, 61}));
}

TEST(Sf2Reader, putsOverlapsInLayersAndStereoPairsTogether) {
  BankBuilder bank;
  bank.preset("P", 0, 0, {{{{41, 0}}}, {{{41, 1}}}});
  bank.instrument("Low and high", {playing(0, {{43, range(0, 60)}}), playing(0, {{43, range(61, 127)}}), playing(0)});
  bank.instrument("Stereo", {playing(1, {{17, -500}}), playing(2, {{17, 500}})});
  bank.sample({}).sample({.name = "L", .link = 2, .type = 4}).sample({.name = "R", .link = 1, .type = 2});
  const ReadBank read(bank.build());
  const auto layers = read.instrument().layers();
  ASSERT_EQ(layers.size(), 3u);
  EXPECT_EQ(layers[0]->regions().size(), 2u);
  EXPECT_EQ(layers[1]->regions().size(), 1u);
  EXPECT_EQ(layers[2]->regions().size(), 2u);
}

TEST(Sf2Reader, globalZonesGiveWhatOthersDoNotSay) {
  const Zone presetGlobal{{{48, 50}}};
  const Zone global{{{48, 100}, {52, 10}}, {{0x502, 48, 480}}};
  const ReadBank bank(BankBuilder()
                          .preset("P", 0, 0, {presetGlobal, {{{41, 0}}}})
                          .instrument("I", {global, playing(0), {{{48, 900}}}, playing(0, {{48, 200}})})
                          .sample({})
                          .build());
  EXPECT_FLOAT_EQ(bank.instrument().articulation.get(P::masterVolume).value_or(0), -2);
  EXPECT_EQ(bank.instrument().articulation.entries().size(), 1u);
  EXPECT_FLOAT_EQ(effectiveValue(bank.region(), P::masterVolume), -6);
  EXPECT_FLOAT_EQ(effectiveValue(bank.region(1), P::masterVolume), -10);
  EXPECT_FLOAT_EQ(effectiveValue(bank.region(1), P::masterTuning), 0.1f);
  EXPECT_FLOAT_EQ(effectiveValue(bank.region(1), P::velocityToVolume), 19.2f);
  EXPECT_TRUE(says(bank, u"zone of an instrument"));
}

TEST(Sf2Reader, readsWhatAZonePlays) {
  const std::vector<Zone> zones = {playing(0), playing(0, {{54, 1}}), playing(0, {{54, 3}}),
                                   playing(0, {{54, 1}, {2, 4}, {3, -4}, {0, 10}, {1, -2}}),
                                   playing(0, {{57, 7}, {58, 72}})};
  const ReadBank bank(BankBuilder().preset("P", 0, 0, {{{{41, 0}}}}).instrument("I", zones).sample({}).build());
  const auto loop = [&](std::size_t layer) { return playedLoop(bank.region(layer)); };
  EXPECT_FALSE(loop(0));
  EXPECT_EQ(loop(1)->loopCount, loopForever);
  EXPECT_EQ(loop(2)->loopCount, loopUntilRelease);
  EXPECT_EQ(loop(3)->start, 12);
  EXPECT_EQ(loop(3)->end, 52);
  EXPECT_EQ(playedFrames(bank.region(3)).start, 10);
  EXPECT_EQ(playedFrames(bank.region(3)).end, 62);
  EXPECT_EQ(rootKeyOf(bank.region(4)), 72);
  EXPECT_EQ(effectiveValue(bank.region(4), P::keyExclusionGroup), 7);
}

TEST(Sf2Reader, readsBothWidthsOfSamples) {
  BankBuilder bank = smallBank();
  for (int i = 0; i < 200; ++i) bank.sm24.add(static_cast<uint8_t>(i + 1));
  const ReadBank wide(bank.build());
  const auto frames = framesOf(*wide.collection.waveforms()[0]);
  ASSERT_EQ(frames.size(), 64u);
  EXPECT_EQ(frames[0], (-16000 * 256 + 1) / 8388608.0f);
  EXPECT_EQ(frames[63], ((63 * 163 - 16000) * 256 + 64) / 8388608.0f);
  EXPECT_EQ(wide.collection.waveforms()[0]->storedBits, 24);

  bank.sm24 = ChunkBody().add(uint8_t{1});
  const ReadBank narrow(bank.build());
  EXPECT_EQ(narrow.collection.waveforms()[0]->storedBits, 16);
  EXPECT_EQ(framesOf(*narrow.collection.waveforms()[0])[0], -16000 / 32768.0f);
  EXPECT_TRUE(says(narrow, u"lower bytes"));

  bank.version = 3;
  EXPECT_TRUE(says(ReadBank(bank.build()), u"lower bytes"));
}

// One lie each. What is sound is read; -1 regions: the file is refused.
struct BrokenCase {
  const char* what;
  void (*lie)(BankBuilder&);
  int regions;
  std::size_t waveforms = 1;
};
/// A second preset, which plays a second instrument of these zones.
void addInstrument(BankBuilder& bank, const std::vector<Zone>& zones) {
  bank.instrument("B", zones).preset("B", 1, 0, {{{{41, 1}}}});
}
void addPreset(BankBuilder& bank, uint16_t firstBag) {
  bank.phdr.text("B").add(uint32_t{0}, firstBag).text("", 12);
}
// clang-format off
const BrokenCase brokenCases[] = {
    {"another form",            [](BankBuilder& bank) { bank.form = "WAVE"; }, -1, 0},
    {"version 1",               [](BankBuilder& bank) { bank.version = 1; }, -1, 0},
    {"no pad byte",             [](BankBuilder& bank) { bank.info.text("name", 5); bank.padded = false; }, 1},
    {"no ends",                 [](BankBuilder& bank) { bank.ends = false; }, 0},
    {"no words",                [](BankBuilder& bank) { bank.smpl = {}; }, 1},
    {"instrument out of range", [](BankBuilder& bank) { bank.preset("B", 0, 0, {{{{41, 9}}}}); }, 1},
    {"sample out of range",     [](BankBuilder& bank) { addInstrument(bank, {playing(9)}); }, 1},
    {"number that means none",  [](BankBuilder& bank) { addInstrument(bank, {playing(40000)}); }, 1},
    {"bags run backwards",      [](BankBuilder& bank) { addPreset(bank, 0); }, 1},
    {"bags out of range",       [](BankBuilder& bank) { addPreset(bank, 500); }, 1},
    {"generators out of range", [](BankBuilder& bank) { bank.ibag.add(uint16_t{60000}, uint16_t{0}); }, 1},
    {"modulators out of range", [](BankBuilder& bank) { bank.ibag.add(uint16_t{2}, uint16_t{60000}); }, 1},
    {"two presets of a number", [](BankBuilder& bank) { bank.preset("Preset", 5, 3, {{{{41, 0}}}}); }, 2},
    {"global zone comes late",  [](BankBuilder& bank) { bank.preset("B", 6, 0, {{{{41, 0}}}, {{{48, 900}}}}); }, 2},
    {"no samples",              [](BankBuilder& bank) { bank.shdr = {}; }, 0, 0},
    {"a remainder",             [](BankBuilder& bank) { bank.shdr.text("x", 7); }, 1},
    {"unknown generator",       [](BankBuilder& bank) { bank.instrument("B", {{{{61, 1}}}}); }, 1},
    {"modulator of nothing",    [](BankBuilder& bank) { bank.instrument("B", {{{}, {{99, 99, 1}}}}); }, 1},
    {"ends before it starts",   [](BankBuilder& bank) { bank.sample({.start = 60, .end = 50}); }, 1, 2},
    {"behind the words",        [](BankBuilder& bank) { bank.sample({.start = 5000, .end = 0xFFFFFFFF}); }, 1, 2},
    {"half behind the words",   [](BankBuilder& bank) { bank.sample({.start = 190, .end = 5000}); }, 1, 2},
    {"loop outside",            [](BankBuilder& bank) { bank.sample({.loopStart = 70, .loopEnd = 900}); }, 1, 2},
    {"loop of zero length",     [](BankBuilder& bank) { bank.sample({.loopStart = 9, .loopEnd = 9}); }, 1, 2},
    {"link to nowhere",         [](BankBuilder& bank) { bank.sample({.link = 77, .type = 4}); }, 1, 2},
    {"links that lead on",      [](BankBuilder& bank) {
       bank.sample({.link = 2, .type = 4}).sample({.link = 1, .type = 4}).sample({.link = 3, .type = 2});
       addInstrument(bank, {playing(1), playing(2), playing(3)});
     }, 4, 4},
};
// clang-format on

TEST(Sf2Reader, readsWhatIsSoundOfBrokenBanks) {
  for (const BrokenCase& each : brokenCases) {
    BankBuilder builder = smallBank({{{54, 1}}});
    each.lie(builder);
    const ReadBank bank(builder.build());
    ASSERT_EQ(bank.ok, each.regions >= 0) << each.what;
    if (!bank.ok) continue;
    std::size_t regions = 0;
    for (const auto& instrument : bank.collection.instruments()) regions += instrument->regionCount();
    EXPECT_EQ(regions, static_cast<std::size_t>(each.regions)) << each.what;
    ASSERT_EQ(bank.collection.waveforms().size(), each.waveforms) << each.what;
    for (const auto& waveform : bank.collection.waveforms()) {
      EXPECT_LE(waveform->frames(), 200) << each.what;
      const Marker* loop = mainLoop(*waveform);
      EXPECT_TRUE(!loop || loop->end <= static_cast<double>(waveform->frames())) << each.what;
    }
  }
}

/// Sets the upper byte of the number at `at` in the record of the chunk.
void bend(std::vector<std::byte>& bank, std::string_view chunk, std::size_t recordBytes, std::size_t at, int value) {
  const auto id = std::as_bytes(std::span(chunk));
  const auto found = std::search(bank.begin(), bank.end(), id.begin(), id.end());
  ASSERT_NE(found, bank.end());
  found[static_cast<std::ptrdiff_t>(8 + recordBytes + at + 1)] = static_cast<std::byte>(value);
}

TEST(Sf2Reader, losesOnlyWhatAWrongIndexBelongsTo) {
  const struct {
    std::string_view chunk;
    std::size_t recordBytes, at;
  } tables[] = {{"phdr", 38, 24}, {"pbag", 4, 0}, {"pbag", 4, 2}, {"inst", 22, 20}, {"ibag", 4, 0}, {"ibag", 4, 2}};
  for (const auto& [chunk, recordBytes, at] : tables) {
    BankBuilder builder = smallBank();
    for (int i = 1; i < 4; ++i)
      builder.preset("P", i, 0, {{{{41, i}}}}).instrument("I", {playing(0, {{43, range(i, i)}})});
    auto bytes = builder.build();
    bend(bytes, chunk, recordBytes, at, 0x40);
    const ReadBank bank(bytes);
    ASSERT_EQ(bank.collection.instruments().size(), 4u) << chunk;
    for (std::size_t i : {std::size_t{2}, std::size_t{3}}) {
      ASSERT_EQ(bank.instrument(i).regionCount(), 1u) << chunk << at << i;
      EXPECT_EQ(keyRange(*bank.instrument(i).layers()[0]->regions()[0]).low, static_cast<int>(i)) << chunk << at;
    }
    EXPECT_TRUE(says(bank, u"zone")) << chunk << at;
  }
}

TEST(Sf2Reader, saysWhatStandsBehindTheEndAndKeepsWhatHasNone) {
  BankBuilder early = smallBank();
  early.sample({.name = "EOS"}).sample({.name = "Third"});
  EXPECT_TRUE(says(ReadBank(early.build()), u"end of the samples"));

  // Two presets; the record behind them is an end without its name, or not there at all.
  const auto twoPresets = smallBank().preset("B", 6, 0, {{{{41, 0}}}});
  auto unnamed = twoPresets.build();
  constexpr std::string_view name = "EOP";
  const auto id = std::as_bytes(std::span(name));
  std::fill_n(std::search(unnamed.begin(), unnamed.end(), id.begin(), id.end()), 3, std::byte{});
  EXPECT_EQ(ReadBank(unnamed).collection.instruments().size(), 2u);
  BankBuilder endless = twoPresets;
  endless.ends = false;
  endless.pbag.add(endless.pgen.count(4), uint16_t{0});
  EXPECT_EQ(ReadBank(endless.build()).collection.instruments().size(), 2u);
}

TEST(Sf2Reader, reportsWhatOtherwiseWouldBeMissedUnseen) {
  // From 1 to 0 where the document's goes from 0 to 1.
  const Zone turned{{{53, 0}}, {{0x181, 8, -700}}};
  const struct {
    TextView what;
    std::function<void(BankBuilder&)> lie;
  } cases[] = {
      {u"instrument", [](BankBuilder& bank) { bank.instrument("Unplayed", {playing(0)}); }},
      {u"zones", [](BankBuilder& bank) { bank.phdr.text("EOP").add(uint32_t{0}, uint16_t{9}).text("", 12); }},
      {u"link of two channels",
       [](BankBuilder& bank) {
         bank.sample({.name = "Near", .link = 2, .type = 4}).sample({.name = "Far", .link = 1, .type = 2});
       }},
      {u"offset of a modulator of generator 8",
       [turned](BankBuilder& bank) { bank.ibag = {}, bank.igen = {}, bank.inst = {}, bank.instrument("I", {turned}); }},
      {u"library, genre or morphology",
       [](BankBuilder& bank) { bank.phdr.text("P").add(uint32_t{9}, bank.pbag.count(4)).add(1, 0, 0); }},
      {u"chunk that no standard names", [](BankBuilder& bank) { bank.behind = "hexa\4\0\0\0abcd"s; }},
      {u"data behind the bank", [](BankBuilder& bank) { bank.behind = "\xFFpicture"; }},
      {u"Waveform sample rate", [](BankBuilder& bank) { bank.shdr.text("Rate 0").text("", 20).text("\1", 6); }},
  };
  for (const auto& [what, lie] : cases) {
    BankBuilder bank = smallBank();
    EXPECT_FALSE(says(ReadBank(bank.build()), what));
    lie(bank);
    EXPECT_TRUE(says(ReadBank(bank.build()), what)) << toUtf8(what);
  }
  BankBuilder bank = smallBank();
  bank.sample({.name = "Near L", .link = 2, .type = 4}).sample({.name = "Near R", .link = 1, .type = 2});
  EXPECT_FALSE(says(ReadBank(bank.build()), u"link"));
}

TEST(Sf2Reader, looksForTheVersionInAllOfInfo) {
  for (const bool comesLast : {false, true}) {
    BankBuilder builder = smallBank();
    builder.versionComesLast = comesLast;
    builder.info.text("Odd", 5);
    const struct {
      uint16_t version;
      int confidence, ofCompressed, ofVersion1;
    } cases[] = {{1, 2, 0, 6}, {2, 6, 5, 0}, {3, 5, 6, 0}, {4, 2, 0, 0}};
    for (const auto& [version, confidence, ofCompressed, ofVersion1] : cases) {
      builder.version = version;
      const auto bytes = builder.build();
      EXPECT_EQ(detectSf2(bytes, 0, bytes.size()), confidence) << version;
      EXPECT_EQ(detectSf2(bytes, compressedBank, bytes.size()), ofCompressed) << version;
      EXPECT_EQ(detectSf1(bytes, 0, bytes.size()), ofVersion1) << version;
      EXPECT_EQ(ReadBank(bytes).error, confidence == 2 ? TextView(u"Not a Sound Font v2.x file") : TextView());
    }
  }
}

TEST(Sf2Reader, cutAnywhereABankIsReadOrRefused) {
  const auto whole = smallBank({{{54, 1}}}).build();
  for (std::size_t size = 0; size < whole.size(); size += 3) {
    const ReadBank bank({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)});
    EXPECT_EQ(bank.ok, size >= 12) << size;
  }
}

// Every zone of the preset names the instrument with all the zones: a small file that asks for millions of regions.
TEST(Sf2Reader, boundsWhatASmallFileCanAskFor) {
  BankBuilder bank;
  bank.preset("P", 0, 0, std::vector<Zone>(2000, Zone{{{41, 0}}}));
  bank.instrument("I", std::vector<Zone>(300, playing(0))).sample({});
  const ReadBank read(bank.build());
  EXPECT_LE(read.instrument().regionCount(), 8192u + 301);
  EXPECT_TRUE(says(read, u"zones"));
}

TEST(Sf2Reader, opensABankWithoutPresetsOrAnything) {
  const ReadBank bank(BankBuilder().build());
  ASSERT_TRUE(bank.ok);
  EXPECT_FALSE(bank.collection.holdsData());
  EXPECT_TRUE(says(bank, u"content"));
  const ReadBank samples(BankBuilder().sample({}).build());
  EXPECT_EQ(samples.collection.waveforms().size(), 1u);
  EXPECT_TRUE(samples.collection.instruments().empty());
  EXPECT_FALSE(says(samples, u"content"));
}

class RomHost final : public Host {
 public:
  explicit RomHost(Text path) : path_(std::move(path)) {}
  std::size_t ask(const Question& question) override { return ++questions, uses ? 0 : question.safeButton; }
  std::optional<Text> locateFile(const FileRequest& request) override { return asked = request.title, path_; }
  bool uses = true;
  int questions = 0;
  Text asked;

 private:
  Text path_;
};

TEST(Sf2Reader, takesRomSamplesFromTheBankThatHasThem) {
  TestFolder folder;
  const auto put = [&](TextView name, std::string_view form) {
    BankBuilder rom = smallBank();
    rom.form = form;
    const auto bytes = rom.build();
    folder.put(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  };
  put(u"rom.sf2", "sfbk");
  put(u"packed.sf2", "sfpk");
  BankBuilder builder = smallBank();
  builder.shdr = {};  // the other bank has no second one
  const auto bank = builder.sample({.type = 0x8001}).sample({.type = 0x8001}).build();
  const struct {
    TextView file;
    bool uses;
    std::size_t waveforms;
  } cases[] = {{u"rom.sf2", true, 1}, {u"absent.sf2", true, 0}, {u"packed.sf2", true, 0}, {u"rom.sf2", false, 0}};
  for (const auto& [file, uses, waveforms] : cases) {
    RomHost host(folder.text(file));
    host.uses = uses;
    const ReadBank read(bank, host);
    EXPECT_EQ(host.questions, uses && waveforms == 0 ? 2 : 1);  // and that the file is of no use
    EXPECT_EQ(host.asked, uses ? TextView(u"Please locate 1mgm.sf2") : TextView());
    EXPECT_EQ(read.collection.waveforms().size(), waveforms) << toUtf8(file);
    EXPECT_EQ(read.instrument().regionCount(), waveforms);
    const auto& entries = read.report.entries();
    const bool isInvalid = std::any_of(entries.begin(), entries.end(), [](const ReportEntry& entry) {
      return entry.to == u"Invalid 1mgm.sf2 - skipping ROM";
    });
    EXPECT_EQ(isInvalid, uses && waveforms == 0) << toUtf8(file);
  }
  put(u"1mgm.sf2", "sfbk");
  std::filesystem::current_path(folder / u"");
  RomHost unasked({});
  EXPECT_EQ(ReadBank(bank, unasked).collection.waveforms().size(), 1u);
  EXPECT_TRUE(unasked.asked.empty());
  std::filesystem::current_path(std::filesystem::temp_directory_path());
}

}  // namespace
}  // namespace tervo::test
