#include <gtest/gtest.h>

#include "platform/midi_backends.h"
#include "tests/platform/test_folder.h"

namespace tervo::test {
namespace {

using Messages = std::vector<std::vector<uint8_t>>;

TEST(MidiAssembler, MakesMessagesOfBytes) {
  const struct {
    std::vector<uint8_t> bytes;
    Messages messages;
  } cases[] = {
      {{0x90, 60, 100, 62, 0, 0x80, 60, 1}, {{0x90, 60, 100}, {0x90, 62, 0}, {0x80, 60, 1}}},
      {{0xC2, 5, 6}, {{0xC2, 5}, {0xC2, 6}}},
      {{0xF0, 1, 2, 0xF8, 3, 0xF7, 4}, {{0xF8}, {0xF0, 1, 2, 3, 0xF7}}},
      {{60, 100, 0xF0, 1, 0x90, 60, 7}, {{0x90, 60, 7}}},  // no status yet, and an exclusive message cut off
      {{0xF6, 0xF2, 1, 2, 3}, {{0xF6}, {0xF2, 1, 2}}},     // system common messages end running status
      {{0x90, 60, 0xFE, 100}, {{0xFE}, {0x90, 60, 100}}},
  };
  for (const auto& [bytes, expected] : cases) {
    Messages got;
    platform::MidiAssembler assembler(
        [&](std::span<const uint8_t> message) { got.emplace_back(message.begin(), message.end()); });
    assembler.take(bytes);
    EXPECT_EQ(got, expected);
  }
}

TEST(MidiPort, FilesTakeAndGiveMessages) {
  const TestFolder folder;
  const Text name = u"file:" + folder.text(u"port.syx");
  {
    const auto out = platform::MidiOutput::open(name);
    ASSERT_TRUE(out && out->send(std::vector<uint8_t>{0x90, 1, 2}) && out->send(std::vector<uint8_t>{0xF0, 5, 0xF7}) &&
                out->finish());
  }
  Messages got;
  const auto in = platform::MidiInput::open(
      name, [&](std::span<const uint8_t> message) { got.emplace_back(message.begin(), message.end()); });
  ASSERT_TRUE(in);
  EXPECT_EQ(got, (Messages{{0x90, 1, 2}, {0xF0, 5, 0xF7}}));
}

TEST(MidiPort, NoSuchPortIsAnOrdinaryFailure) {
  EXPECT_FALSE(platform::MidiInput::open(u"nobody's keyboard", [](auto) {}));
  EXPECT_FALSE(platform::MidiOutput::open(u"nobody's synthesizer"));
}

}  // namespace
}  // namespace tervo::test
