#include "formats/wave/raw_dvd.h"

#include <algorithm>
#include <array>

#include "dsp/sample_kernels.h"
#include "formats/wave/headerless_losses.h"
#include "formats/wave/raw_coded.h"

namespace tervo {
namespace {

constexpr std::size_t groupFrames = 2, groupSamples = 4, groupBytes = 12;

class DvdDecoder final : public BlockDecoder {
 public:
  std::size_t blockBytes() const override { return groupsPerBlock * groupBytes; }
  std::size_t blockFrames() const override { return groupsPerBlock * groupFrames; }
  bool independentBlocks() const override { return true; }

  std::size_t decode(std::span<const std::byte> block, std::span<float> out) override {
    const std::size_t groups = std::min({block.size() / groupBytes, out.size() / groupSamples, groupsPerBlock});
    std::array<std::byte, groupsPerBlock * groupBytes> words;  // three bytes of each sample together
    for (std::size_t i = 0; i < groups * groupSamples; ++i) {
      const auto group = block.subspan(i / groupSamples * groupBytes, groupBytes);
      const std::size_t place = i % groupSamples;
      words[3 * i] = group[2 * place];
      words[3 * i + 1] = group[2 * place + 1];
      words[3 * i + 2] = group[2 * groupSamples + place];
    }
    dsp::decodeSamples(dsp::SampleWord::s24, ByteOrder::big, std::span(words).first(groups * groupBytes), out);
    return groups * groupFrames;
  }

 private:
  static constexpr std::size_t groupsPerBlock = 512;
};

}  // namespace

bool readDvdWords24(Collection& collection, const SourceFile& file, uint32_t variant) {
  const RawCoding usual{SampleFormat::pcm24, BigEndian, static_cast<double>(variant), 0, 2};
  const RawCoding coding = asTheUserSays(usual, file);
  const uint64_t bytes = codedBytes(coding, file);
  reportBytesLeftOver(file, bytes % groupBytes);
  return addCodedWaveform(collection, file, coding, static_cast<int64_t>(bytes / groupBytes * groupFrames),
                          [] { return std::make_unique<DvdDecoder>(); });
}

}  // namespace tervo
