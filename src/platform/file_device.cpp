// The device "file:PATH": a WAV file of what has been played ("Multimedia Programming Interface and Data Specifications
// 1.0" by IBM and Microsoft; beyond 4 GiB EBU Tech 3306). Silence between sounds, while nothing plays, is not part of
// it.

#include <algorithm>
#include <array>

#include "base/byte_writer.h"
#include "platform/file.h"
#include "platform/pulled_device.h"

namespace tervo::platform {
namespace {

/// The chunk "ds64".
struct LongSizes {
  Endian<uint64_t, ByteOrder::little> riff, data, frames;
  Endian<uint32_t, ByteOrder::little> tableLength;
};

class FileDevice final : public PulledDevice {
 public:
  FileDevice(const AudioRequest& request, std::unique_ptr<OutputFile> file)
      : PulledDevice(request, AudioCoding::float32), file_(std::move(file)), writer_(*file_) {
    writeHeader();
  }
  ~FileDevice() override { stop(); }

  bool finish() override {
    if (!PulledDevice::finish()) return false;
    writeSizes();
    return writer_.ok() && file_->commit();
  }

 private:
  void writeHeader() {
    constexpr uint16_t pcm = 1, ieeeFloat = 3;
    const auto frameBytes = static_cast<uint16_t>(format_.bytesPerFrame());
    riff_.emplace(writer_, "RIFF");
    // Room for the sizes of a file that grows beyond 32 bits.
    writer_.chars("WAVEJUNK");
    writer_.little<uint32_t>(sizeof(LongSizes));
    writer_.zeros(sizeof(LongSizes));
    writer_.chars("fmt ");
    writer_.little<uint32_t>(18);
    writer_.little<uint16_t>(format_.coding == AudioCoding::float32 ? ieeeFloat : pcm);
    writer_.little(static_cast<uint16_t>(format_.channels));
    writer_.little(format_.sampleRate);
    writer_.little(format_.sampleRate * frameBytes);
    writer_.little(frameBytes);
    writer_.little(static_cast<uint16_t>(8 * format_.bytesPerSample));
    writer_.little<uint16_t>(0);  // no extension follows
    // Frames, which everything but plain integers has to say.
    writer_.chars("fact");
    writer_.little<uint32_t>(4);
    framesPlace_ = writer_.position();
    writer_.little<uint32_t>(0);
    data_.emplace(writer_, "data");
    dataPlace_ = writer_.position();
  }

  void writeSizes() {
    constexpr uint64_t mostIn32Bits = 0xFFFFFFFF;
    const uint64_t riff = writer_.position() - 8, data = writer_.position() - dataPlace_;
    const uint64_t frames = data / format_.bytesPerFrame();
    data_.reset();
    riff_.reset();
    writer_.patch(framesPlace_,
                  Endian<uint32_t, ByteOrder::little>(static_cast<uint32_t>(std::min(frames, mostIn32Bits))));
    if (riff <= mostIn32Bits) return;
    writer_.patch(0, std::to_array({'R', 'F', '6', '4'}));
    writer_.patch(12, std::to_array({'d', 's', '6', '4'}));
    writer_.patch(20, LongSizes{riff, data, frames, 0});
  }

  bool deliver(std::span<const std::byte> frames) override {
    writer_.bytes(frames);
    return writer_.ok();
  }

  std::unique_ptr<OutputFile> file_;
  ByteWriter writer_;
  std::optional<ChunkScope> riff_, data_;
  uint64_t framesPlace_ = 0, dataPlace_ = 0;
};

}  // namespace

std::unique_ptr<AudioDevice> openFileDevice(const AudioRequest& request, TextView path) {
  auto file = OutputFile::create(path, Replace::allowed);
  if (!file) return nullptr;
  return std::make_unique<FileDevice>(request, std::move(file));
}

}  // namespace tervo::platform
