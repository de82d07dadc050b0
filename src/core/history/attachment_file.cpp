#include "core/history/attachment_file.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "base/last_error.h"

namespace tervo {
namespace {

static_assert(std::endian::native == std::endian::little, "floats are written and used as they stand in memory");

enum class Encoding : uint8_t { stored = 1, floats = 2 };

std::size_t paddingAt(uint64_t position) {
  return static_cast<std::size_t>((alignof(float) - position % alignof(float)) % alignof(float));
}

/// Whether opened samples are what was recorded: so many frames, out of all of the bytes and out of no others.
bool isAsRecorded(const SampleRef& samples, int channels, int64_t frames, uint64_t bytes) {
  return samples && samples->channels() == channels && samples->frames() == frames && samples->stored() &&
         samples->stored()->bytes == bytes;
}

/// Whether decoding the stored bytes again gives these frames. What a coding needs besides its bytes is known for plain
/// samples, for those that a "fmt " chunk describes, and for codings that have a name.
bool canBeReopened(const SampleData& data, const StoredSamples& stored, OpenStored openStored) {
  if (!openStored || !(stored.genericPcm || !stored.waveFormat.empty() || !stored.coding.empty())) return false;
  const SampleRef again = openStored(stored, data.channels(), data.frames());
  return isAsRecorded(again, data.channels(), data.frames(), stored.bytes);
}

bool isSplit(const StoredSamples& stored) {
  return (stored.format & SplitChannels) && stored.secondChannelOffset != 0;
}

void copy(ByteWriter& writer, const ByteSource& source, uint64_t offset, uint64_t bytes, bool& ok) {
  ok = ok && writer.ok() && writer.sink().writeFrom(source, offset, bytes);
}

bool writeStored(ByteWriter& writer, const StoredSamples& stored) {
  writer.little(stored.format);
  writer.u8(stored.genericPcm ? 1 : 0);
  writer.little(static_cast<uint32_t>(stored.waveFormat.size()));
  writer.bytes(stored.waveFormat);
  const std::string coding = toUtf8(stored.coding);
  writer.little(static_cast<uint32_t>(coding.size()));
  writer.chars(coding);
  writer.little(stored.bytes);
  bool ok = true;
  const uint64_t first = isSplit(stored) ? stored.bytes / 2 : stored.bytes;
  copy(writer, *stored.source, stored.offset, first, ok);
  if (isSplit(stored)) copy(writer, *stored.source, stored.secondChannelOffset, first, ok);
  return ok;
}

bool writeStream(ByteWriter& writer, const SampleData& data) {
  const auto stream = data.open();
  if (!stream) return false;
  const auto channels = static_cast<std::size_t>(data.channels());
  std::vector<float> block(65536 * channels);
  for (auto left = static_cast<uint64_t>(data.frames()); left > 0 && writer.ok();) {
    const auto wanted = static_cast<std::size_t>(std::min<uint64_t>(left, 65536));
    const auto frames = stream->read(std::span(block).first(wanted * channels));
    if (!frames) return false;
    if (*frames == 0) return fail(u"Reading from file failed");
    writer.bytes(std::as_bytes(std::span(block).first(*frames * channels)));
    left -= *frames;
  }
  return writer.ok();
}

bool writeFloats(ByteWriter& writer, const SampleData& data) {
  const std::size_t padding = paddingAt(writer.position() + 1);
  writer.u8(static_cast<uint8_t>(padding));
  writer.zeros(padding);
  if (data.resident().empty()) return writeStream(writer, data);
  writer.bytes(std::as_bytes(data.resident()));
  return writer.ok();
}

bool writeShared(ByteWriter& writer, const SampleRef& data, OpenStored openStored) {
  const StoredSamples* stored = data->stored();
  const bool asStored = stored && canBeReopened(*data, *stored, openStored);
  writer.u8(static_cast<uint8_t>(asStored ? Encoding::stored : Encoding::floats));
  writer.u8(static_cast<uint8_t>(data->channels()));
  writer.little(static_cast<uint64_t>(data->frames()));
  return asStored ? writeStored(writer, *stored) : writeFloats(writer, *data);
}

bool writeShared(ByteWriter& writer, const std::shared_ptr<const Picture>& picture, OpenStored) {
  writer.little(static_cast<uint32_t>(picture->mimeType.size()));
  writer.chars(picture->mimeType);
  writer.little(static_cast<uint64_t>(picture->bytes.size()));
  writer.bytes(picture->bytes);
  return writer.ok();
}

bool writeShared(ByteWriter& writer, const SharedStretch& stretch, OpenStored) {
  writer.little(stretch.bytes);
  bool ok = true;
  if (stretch.bytes > 0) copy(writer, *stretch.source, stretch.offset, stretch.bytes, ok);
  return ok && writer.ok();
}

/// A length that the file states, and nothing when so many bytes are not there.
std::optional<std::size_t> length(ByteReader& in, uint64_t stated) {
  if (!in.ok() || stated > in.remaining()) return std::nullopt;
  return static_cast<std::size_t>(stated);
}

}  // namespace

bool writeAttachment(ByteWriter& writer, const SharedData& data, OpenStored openStored) {
  return std::visit([&](const auto& shared) { return writeShared(writer, shared, openStored); }, data);
}

SampleRef FileAttachments::samples(ByteReader& in) {
  const auto encoding = static_cast<Encoding>(in.u8());
  const int channels = in.u8();
  const auto frames = in.little<uint64_t>();
  if (!in.ok() || channels < 1 || channels > 2 || frames > uint64_t{std::numeric_limits<int64_t>::max()})
    return nullptr;
  if (encoding == Encoding::stored) return stored(in, channels, frames);
  return encoding == Encoding::floats ? floats(in, channels, frames) : nullptr;
}

SampleRef FileAttachments::floats(ByteReader& in, int channels, uint64_t frames) const {
  in.skip(in.u8());
  const std::size_t frameBytes = static_cast<std::size_t>(channels) * sizeof(float);
  if (!in.ok() || frames > in.remaining() / frameBytes || paddingAt(in.position()) != 0) return nullptr;
  const auto bytes = in.take(static_cast<std::size_t>(frames) * frameBytes);
  return makeResident({reinterpret_cast<const float*>(bytes.data()), bytes.size() / sizeof(float)}, channels, file_);
}

SampleRef FileAttachments::stored(ByteReader& in, int channels, uint64_t frames) {
  StoredSamples stored;
  stored.source = file_;
  stored.format = in.little<uint32_t>();
  stored.genericPcm = in.u8() != 0;
  const auto waveFormat = in.take(in.little<uint32_t>());
  stored.waveFormat.assign(waveFormat.begin(), waveFormat.end());
  stored.coding = fromUtf8(in.chars(in.little<uint32_t>()));
  const auto bytes = length(in, in.little<uint64_t>());
  if (!bytes || !openStored_) return nullptr;
  stored.offset = in.position();
  stored.bytes = *bytes;
  if (stored.format & SplitChannels) stored.secondChannelOffset = stored.offset + stored.bytes / 2;
  in.skip(*bytes);
  SampleRef samples = openStored_(std::move(stored), channels, static_cast<int64_t>(frames));
  openingFailed_ = !samples;
  return isAsRecorded(samples, channels, static_cast<int64_t>(frames), *bytes) ? samples : nullptr;
}

std::shared_ptr<const Picture> FileAttachments::picture(ByteReader& in) {
  auto picture = std::make_shared<Picture>();
  picture->mimeType = in.chars(in.little<uint32_t>());
  const auto size = length(in, in.little<uint64_t>());
  if (!size) return nullptr;
  const auto bytes = in.take(*size);
  picture->bytes.assign(bytes.begin(), bytes.end());
  return picture;
}

bool FileAttachments::stretch(ByteReader& in, SharedStretch& stretch) {
  const auto size = length(in, in.little<uint64_t>());
  if (!size) return false;
  stretch = {file_, in.position(), *size};
  in.skip(*size);
  return in.ok();
}

}  // namespace tervo
