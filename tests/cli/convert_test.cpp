#include "tests/cli/command_fixture.h"
#include "tests/formats/instrument/sf2_builder.h"

namespace tervo::test {
namespace {

using namespace std::string_literals;
using nlohmann::json;

class Convert : public CommandTest {
 protected:
  void SetUp() override {
    folder.put(u"a.sw", "\x00\x40\x00\xC0"s);  // 0.5, -0.5
    folder.put(u"b.sb", "\x20\x20\x20"s);
    folder.put(u"what.xyz", "\x40\x00\x20\x00"s);
    folder.put(u"old.sb", "precious");
    files_ = folder.count();
  }
  bool madeNothing() const { return folder.count() == files_; }
  std::ptrdiff_t files_ = 0;
};

TEST_F(Convert, WritesWhatIsAskedFor) {
  const struct {
    std::vector<Text> arguments;
    std::string bytes;
  } cases[] = {
      {{u"a.sw", u"-o", u"out.sb"}, "\x40\xC0"s},
      {{u"a.sw", u"-o", u"out", u"--format", u"434"}, "\x40\x00\xC0\x00"s},
      {{u"a.sw", u"-o", u"out.wav", u"--format", u"SB"}, "\x40\xC0"s},
      {{u"a.sw", u"-o", u"out", u"--format", u"unsigned bytes (8-bit)"}, "\xC0\x40"s},
      {{u"a.sw", u"-o", u"out.sb", u"--channels", u"2"}, "\x40\x40\xC0\xC0"s},
      {{u"b.sb", u"a.sw", u"-o", u"out.sb", u"--item", u"waveform:0"}, "\x40\xC0"s},
      {{u"what.xyz", u"-o", u"out.sb", u"--force-raw", u"--raw-order", u"big"}, "\x40\x20"s},
      {{u"a.sw", u"-o", u"old.sb", u"--overwrite"}, "\x40\xC0"s},
      {{u"a.sw", u"-o", u"a.sw", u"--overwrite", u"--channels", u"2"}, "\x00\x40\x00\x40\x00\xC0\x00\xC0"s},
  };
  for (const auto& each : cases) {
    SetUp();
    std::vector<Text> arguments = {u"convert"};
    arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
    ASSERT_EQ(run(arguments), 0) << console.error;
    const auto target = std::find(arguments.begin(), arguments.end(), u"-o") + 1;
    EXPECT_EQ(folder.get(*target), each.bytes) << toUtf8(*target) << ' ' << &each - cases;
    EXPECT_EQ(console.output + console.error, "");
    std::filesystem::remove(folder / *target);
  }
}

TEST_F(Convert, CodingAndRateOfTheTarget) {
  const struct {
    Text coding, rate;
    std::string tag, rateBytes;
  } cases[] = {{u"auto", u"44100", "\1\0"s, "\x44\xAC\0\0"s},
               {u"pcm 24-bit", u"22050", "\1\0"s, "\x22\x56\0\0"s},
               {u"Float 32-bit", u"96000", "\3\0"s, "\0\x77\1\0"s},
               {u"A-law 8-bit", u"44100", "\6\0"s, "\x44\xAC\0\0"s}};
  for (const auto& [coding, rate, tag, rateBytes] : cases) {
    ASSERT_EQ(run({u"convert", u"a.sw", u"-o", u"out.wav", u"--coding", coding, u"--rate", rate, u"--overwrite"}), 0);
    const std::string file = folder.get(u"out.wav");
    EXPECT_EQ(file.substr(20, 2), tag) << toUtf8(coding);
    EXPECT_EQ(file.substr(24, 4), rateBytes) << toUtf8(coding);
  }
}

TEST_F(Convert, SavesSeveralItemsTogether) {
  for (const Text name : {u"a", u"b"}) {
    const Text source = name == u"a" ? u"a.sw" : u"b.sb";
    ASSERT_EQ(run({u"convert", source, u"-o", name + u".sf2"}), 0) << console.error;  // with a preset that plays it
  }
  const auto names = [](const nlohmann::json& items) {
    std::vector<std::string> all;
    for (const auto& item : items) all.push_back(item["name"]);
    return all;
  };
  using Names = std::vector<std::string>;
  const struct {
    std::vector<Text> items;
    Names instruments, waveforms;
  } cases[] = {{{}, {"a", "b"}, {"a", "b", "a"}},
               {{u"instrument:0", u"instrument:1"}, {"a", "b"}, {"a", "b"}},
               {{u"waveform:2", u"instrument:1", u"waveform:2"}, {"b"}, {"b", "a"}},
               {{u"waveform:2", u"waveform:0"}, {"a", "a"}, {"a", "a"}}};
  for (const auto& [items, instruments, waveforms] : cases) {
    std::vector<Text> arguments = {u"convert",    u"a.sf2",
                                   u"b.sf2",      u"a.sw",
                                   u"-o",         u"several.sf2",
                                   u"--set",      u"load.bAutoRemoveDupWaves=0",
                                   u"--set",      u"load.bEnsureUniqueNames=0",
                                   u"--set",      u"load.bAutoSortWaves=0",
                                   u"--overwrite"};
    for (const Text& item : items) arguments.insert(arguments.end(), {u"--item", item});
    ASSERT_EQ(run(arguments), 0) << console.error;
    ASSERT_EQ(run({u"info", u"--json", u"--raw-model", u"several.sf2"}), 0) << console.error;
    EXPECT_EQ(names(json()[0]["instruments"]), instruments);
    EXPECT_EQ(names(json()[0]["waveforms"]), waveforms);
  }
  EXPECT_EQ(run({u"convert", u"a.sf2", u"b.sf2", u"-o", u"x.sb", u"--item", u"waveform:0", u"--item", u"waveform:1"}),
            1);
  EXPECT_NE(console.error.find("The file format can not save this item"), std::string::npos) << console.error;
}

TEST_F(Convert, TakesRomSamplesFromTheFileThatAnAnswerNames) {
  const auto put = [&](TextView name, const std::vector<std::byte>& bytes) {
    folder.put(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  };
  put(u"gm.sf2", smallBank().build());
  BankBuilder bank;
  put(u"rom.sf2", bank.sample({.type = 0x8001}).build());
  ASSERT_EQ(run({u"info", u"--json", u"rom.sf2"}), 0);
  EXPECT_TRUE(json()[0]["waveforms"].empty());
  EXPECT_NE(console.error.find("\n  -> Skip\n"), std::string::npos) << console.error;
  ASSERT_EQ(run({u"info", u"--json", u"rom.sf2", u"--answer", u"yes", u"--answer", u"locate 1mgm.sf2=gm.sf2"}), 0);
  EXPECT_EQ(json()[0]["waveforms"].size(), 1u);
  EXPECT_NE(console.error.find("Please locate 1mgm.sf2\n"), std::string::npos) << console.error;
}

TEST_F(Convert, SaysWhatIsWrongAndLeavesNothing) {
  const struct {
    std::vector<Text> arguments;
    int status;
    std::string message;  // the beginning of the last line
  } cases[] = {
      {{u"absent.sw", u"-o", u"out.sb"}, 1, "tervo: absent.sw: Could not open file ("},
      {{u"a.sw", u"absent.sw", u"-o", u"out.sb"}, 1, "tervo: absent.sw: Could not open file ("},
      {{u"what.xyz", u"-o", u"out.sb"}, 1, "tervo: what.xyz: Not detected as any supported file type (--force-raw"},
      {{u"a.sw", u"-o", u"out.nope"}, 1, "tervo: out.nope: Invalid export format selected (no format has the ext"},
      {{u"a.sw", u"-o", u"out", u"--format", u"543"}, 1, "tervo: out: Invalid export format selected (no row has"},
      {{u"a.sw", u"-o", u"out", u"--format", u"492"}, 1, "tervo: out: Invalid export format selected (only read, ne"},
      {{u"a.sw", u"-o", u"out.akp"}, 1, "tervo: out.akp: Invalid export format selected (known, but not writable ye"},
      {{u"a.sw", u"-o", u"old.sb"}, 1, "tervo: old.sb: File exists already (--overwrite replaces it)"},
      {{u"a.sw", u"-o", u"a.sw"}, 1, "tervo: a.sw: File exists already (--overwrite replaces it)"},
      {{u"a.sw", u"-o", u"no/out.sb"}, 1, "tervo: no/out.sb: Could not open file ("},
      {{u"a.sw", u"b.sb", u"-o", u"out.sb"}, 1, "tervo: out.sb: No item selected (in the document: instruments 0, w"},
      {{u"a.sw", u"-o", u"out.sb", u"--item", u"waveform:1"}, 1, "tervo: out.sb: No item selected (there is no wave"},
      {{u"a.sw", u"-o", u"out.sb", u"--item", u"song:0"}, 1, "tervo: out.sb: No item selected (there is no song:0"},
      {{u"a.sw", u"-o", u"out.sb", u"--report=no/r"}, 1, "tervo: no/r: Could not open file ("},
      {{u"a.sw", u"-o", u"out.sb", u"--report=a.sw"}, 2, "tervo: a.sw: The report would replace a file of this conv"},
      {{u"a.sw", u"-o", u"out.sb", u"--report=out.sb"}, 2, "tervo: out.sb: The report would replace"},
      {{u"a.sw", u"-o", u"out.sb", u"--item", u"wave:0"}, 2, "tervo: --item: \"wave:0\" is no item"},
      {{u"a.sw", u"-o", u"out.sb", u"-o", u"out.ub"}, 2, "tervo: --output may be given only once"},
      {{u"a.sw", u"-o", u""}, 2, "tervo: --output: the name of a file cannot be empty"},
      {{u"", u"-o", u"out.sb"}, 2, "tervo: FILE: the name of a file cannot be empty"},
      {{u"a.sw", u"-o", u"out.sb", u"--report="}, 2, "tervo: --report=FILE: the name of a file cannot be empty"},
      {{u"a.sw", u"-o", u"out.sb", u"--raw-format", u"GSM"}, 2, "tervo: --raw-format: \"GSM\" is no format of raw da"},
  };
  for (const auto& each : cases) {
    std::vector<Text> arguments = {u"convert"};
    arguments.insert(arguments.end(), each.arguments.begin(), each.arguments.end());
    EXPECT_EQ(run(arguments), each.status);
    EXPECT_NE(console.error.find(each.message), std::string::npos) << each.message << "\nbut " << console.error;
    if (console.error.find("no/r:") != std::string::npos) std::filesystem::remove(folder / u"out.sb");
    EXPECT_TRUE(madeNothing()) << each.message;
  }
  EXPECT_EQ(folder.get(u"old.sb"), "precious");
}

TEST_F(Convert, ReportsWhatWasLost) {
  const std::vector<Text> lossy = {u"convert", u"a.sw", u"-o", u"out.wav", u"--coding", u"PCM 8-bit", u"--overwrite"};
  const auto runWith = [&](std::initializer_list<Text> more) {
    std::vector<Text> arguments = lossy;
    arguments.insert(arguments.end(), more);
    return run(arguments);
  };
  const std::string text = "a: approximated: sample format, from PCM 16-bit to PCM 8-bit\n";
  const auto entries = json::parse(
      R"([{"item": "a", "what": "sample format", "kind": "approximated", "from": "PCM 16-bit", "to": "PCM 8-bit"}])");
  EXPECT_EQ(runWith({u"--report"}), 0);
  EXPECT_EQ(console.error, text);
  EXPECT_EQ(console.output, "");
  EXPECT_EQ(runWith({u"--report=r.txt"}), 0);
  EXPECT_EQ(folder.get(u"r.txt"), text);
  EXPECT_EQ(runWith({u"--report=r.json"}), 0);
  EXPECT_EQ(json::parse(folder.get(u"r.json")), entries);
  EXPECT_EQ(console.output + console.error, "");
  EXPECT_EQ(runWith({u"--report", u"--json"}), 0);
  EXPECT_EQ(json(), entries);
  EXPECT_EQ(console.error, "");
  EXPECT_EQ(run({u"convert", u"a.sw", u"-o", u"out.wav", u"--report", u"--overwrite"}), 0);
  EXPECT_EQ(console.error, "Nothing was lost.\n");
}

TEST_F(Convert, ReportsWhatTheChosenItemsLost) {
  const std::vector<Mod> modulators = {{0x181, 8, -700}};
  BankBuilder bank;
  bank.preset("One", 0, 0, {{{{41, 0}}}}).preset("Two", 1, 0, {{{{41, 0}}}}).preset("Three", 2, 0, {{{{41, 1}}}});
  bank.instrument("Shared", {{{{53, 0}}, modulators}}).instrument("Other", {{{{53, 0}}, modulators}}).sample({});
  const auto bytes = bank.build();
  folder.put(u"bank.sf2", {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  ASSERT_EQ(run({u"convert", u"bank.sf2", u"-o", u"one.sf2", u"--report", u"--item", u"instrument:1"}), 0);
  EXPECT_EQ(console.error, "Two: dropped: offset of a modulator of generator 8: the document has no place for it\n");
}

TEST_F(Convert, CancelledAnywhereLeavesTheTargetAlone) {
  folder.put(u"long.sw", std::string(2'000'000, '\x11'));
  files_ += 2;
  console.onPoll = [](int) { return false; };
  ASSERT_EQ(run({u"convert", u"long.sw", u"-o", u"whole.sb"}), 0);
  const int last = console.polls;
  ASSERT_GT(last, 10);
  const struct {
    int poll;
    std::string message;
  } cases[] = {{1, "tervo: long.sw: Open aborted!\n"},
               {last - 10, "tervo: old.sb: Save aborted!\n"},
               {last, "tervo: old.sb: Save aborted!\n"}};
  for (const auto& [poll, message] : cases) {
    console.onPoll = [poll = poll](int polls) { return polls >= poll; };
    EXPECT_EQ(run({u"convert", u"long.sw", u"-o", u"old.sb", u"--overwrite"}), 130) << poll;
    EXPECT_EQ(console.error, message) << poll;
    EXPECT_EQ(folder.get(u"old.sb"), "precious");
    EXPECT_TRUE(madeNothing());
  }
}

TEST_F(Convert, ASourceThatShrinksMeanwhileIsNamed) {
  ++files_;
  const std::vector<Text> ways[] = {{u"--coding", u"auto"}, {u"--coding", u"PCM 24-bit"}, {u"--rate", u"8000"}};
  for (const auto& way : ways) {
    folder.put(u"long.sw", std::string(4'000'000, '\x11'));
    console.onPoll = [&](int) { return std::filesystem::resize_file(folder / u"long.sw", 100), false; };
    EXPECT_EQ(run({u"convert", u"long.sw", u"-o", u"old.sb", u"--format", u"wav", u"--overwrite", way[0], way[1]}), 1);
    EXPECT_EQ(console.error, "tervo: long.sw: Reading from file failed (the file ends too early)\n");
    EXPECT_EQ(folder.get(u"old.sb"), "precious");
    EXPECT_TRUE(madeNothing());
  }
}

TEST_F(Convert, DrawsProgressOnATerminalOnly) {
  console.terminal = true;
  EXPECT_EQ(run({u"convert", u"a.sw", u"-o", u"1.sb"}), 0);
  EXPECT_TRUE(console.error.ends_with("Opened: a.sw\nWriting: 1.sb\n\r100 %\r      \r")) << console.error;
  EXPECT_EQ(run({u"convert", u"a.sw", u"-o", u"2.sb", u"--no-progress"}), 0);
  EXPECT_TRUE(console.error.ends_with("Opened: a.sw\nWriting: 2.sb\n")) << console.error;
  EXPECT_EQ(console.error.find('\r'), std::string::npos);
  EXPECT_EQ(run({u"convert", u"a.sw", u"-o", u"3.sb", u"--quiet"}), 0);
  EXPECT_EQ(console.error, "");
}

}  // namespace
}  // namespace tervo::test
