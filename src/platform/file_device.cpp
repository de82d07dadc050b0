// The device "file:PATH": a WAV file of what has been played ("Multimedia Programming Interface and Data Specifications
// 1.0" by IBM and Microsoft). Silence between sounds, while nothing plays, is not part of it.

#include "base/byte_writer.h"
#include "platform/file.h"
#include "platform/pulled_device.h"

namespace tervo::platform {
namespace {

class FileDevice final : public PulledDevice {
 public:
  FileDevice(const AudioRequest& request, std::unique_ptr<OutputFile> file)
      : PulledDevice(request, AudioCoding::float32), file_(std::move(file)), writer_(*file_) {
    writeHeader();
  }
  ~FileDevice() override { stop(); }

  bool finish() override {
    const bool written = PulledDevice::finish();
    data_.reset();
    riff_.reset();
    return written && writer_.ok() && file_->commit();
  }

 private:
  void writeHeader() {
    constexpr uint16_t pcm = 1, ieeeFloat = 3;
    const auto frameBytes = static_cast<uint16_t>(format_.bytesPerFrame());
    riff_.emplace(writer_, "RIFF");
    writer_.chars("WAVEfmt ");
    writer_.little<uint32_t>(18);
    writer_.little<uint16_t>(format_.coding == AudioCoding::float32 ? ieeeFloat : pcm);
    writer_.little(static_cast<uint16_t>(format_.channels));
    writer_.little(format_.sampleRate);
    writer_.little(format_.sampleRate * frameBytes);
    writer_.little(frameBytes);
    writer_.little(static_cast<uint16_t>(8 * format_.bytesPerSample));
    writer_.little<uint16_t>(0);  // no extension follows
    data_.emplace(writer_, "data");
  }

  bool deliver(std::span<const std::byte> frames) override {
    if (frames.size() > UINT32_MAX - writer_.position()) return false;
    writer_.bytes(frames);
    return writer_.ok();
  }

  std::unique_ptr<OutputFile> file_;
  ByteWriter writer_;
  std::optional<ChunkScope> riff_, data_;
};

}  // namespace

std::unique_ptr<AudioDevice> openFileDevice(const AudioRequest& request, TextView path) {
  auto file = OutputFile::create(path, Replace::allowed);
  if (!file) return nullptr;
  return std::make_unique<FileDevice>(request, std::move(file));
}

}  // namespace tervo::platform
