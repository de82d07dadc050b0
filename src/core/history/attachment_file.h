#pragma once
// How the large parts of a document stand in a file: sample data as the bytes of its source where these can be decoded
// again, else as 32-bit floats on a 4-byte boundary, so that they are used where they are loaded.

#include "base/byte_writer.h"
#include "core/history/body_reader.h"
#include "core/history/loaded_bytes.h"

namespace tervo {

/// Makes sample data of stored bytes in their own coding; null with LastErrorText. The format framework provides it.
using OpenStored = SampleRef (*)(StoredSamples stored, int channels, int64_t frames);

/// Any thread. False with LastErrorText when a source cannot be read or the sink fails.
bool writeAttachment(ByteWriter& writer, const SharedData& data, OpenStored openStored);

class FileAttachments final : public AttachmentReader {
 public:
  FileAttachments(std::shared_ptr<const LoadedBytes> file, OpenStored openStored)
      : file_(std::move(file)), openStored_(openStored) {}

  SampleRef samples(ByteReader& in) override;
  std::shared_ptr<const Picture> picture(ByteReader& in) override;
  bool stretch(ByteReader& in, SharedStretch& stretch) override;

  /// Whether sample data was sound but could not be opened; LastErrorText says why.
  bool openingFailed() const { return openingFailed_; }

 private:
  SampleRef floats(ByteReader& in, int channels, uint64_t frames) const;
  SampleRef stored(ByteReader& in, int channels, uint64_t frames);

  std::shared_ptr<const LoadedBytes> file_;
  OpenStored openStored_;
  bool openingFailed_ = false;
};

}  // namespace tervo
