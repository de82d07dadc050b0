#pragma once
// Builds small WAV files in memory, and opens and saves them without a disk.

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "base/byte_source.h"
#include "base/byte_writer.h"
#include "base/last_error.h"
#include "core/collection.h"
#include "formats/format_table.h"
#include "formats/wave/wav_reader.h"
#include "formats/wave/wav_writer.h"

namespace tervo::test {

using Bytes = std::vector<std::byte>;

inline Bytes chars(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  return {bytes.begin(), bytes.end()};
}
template <typename T>
Bytes words(std::initializer_list<T> values) {
  MemorySink sink;
  ByteWriter writer(sink);
  for (const T value : values) writer.little(value);
  return sink.take();
}
inline Bytes u32(std::initializer_list<uint32_t> values) {
  return words<uint32_t>(values);
}
inline Bytes i16(std::initializer_list<int16_t> values) {
  return words<int16_t>(values);
}
inline Bytes u8(std::initializer_list<uint8_t> values) {
  return words<uint8_t>(values);
}
inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

struct Fmt {
  uint16_t tag = 1, channels = 1;
  uint32_t rate = 8000;
  uint16_t bits = 16;
  int blockAlign = -1;  // -1: whole bytes of `bits`
  Bytes extra = {};     // behind the first 16 bytes

  Bytes body() const {
    const auto align = static_cast<uint16_t>(blockAlign >= 0 ? blockAlign : (bits + 7) / 8 * channels);
    return words<uint16_t>({tag, channels}) + u32({rate, rate * align}) + words<uint16_t>({align, bits}) + extra;
  }
};

/// Chunks in any order, with any lie in the sizes.
class WavBuilder {
 public:
  WavBuilder& form(std::string_view id, std::string_view type) {
    form_ = chars(id);
    type_ = chars(type);
    return *this;
  }
  WavBuilder& riffSize(uint32_t size) {
    size_ = u32({size});
    return *this;
  }
  WavBuilder& fmt(const Fmt& format) { return chunk("fmt ", format.body()); }
  WavBuilder& data(const Bytes& samples) { return chunk("data", samples); }
  WavBuilder& chunk(std::string_view id, const Bytes& body) {
    chunkSaying(id, static_cast<uint32_t>(body.size()), body);
    return body.size() % 2 == 1 ? raw(u8({0})) : *this;
  }
  /// A chunk whose header says another size than it has; without a pad byte.
  WavBuilder& chunkSaying(std::string_view id, uint32_t size, const Bytes& body) {
    return raw(chars(id) + u32({size}) + body);
  }
  WavBuilder& raw(const Bytes& bytes) {
    chunks_ = chunks_ + bytes;
    return *this;
  }

  Bytes bytes() const {
    const auto size = size_.empty() ? u32({static_cast<uint32_t>(chunks_.size() + 4)}) : size_;
    return form_ + size + type_ + chunks_;
  }

 private:
  Bytes form_ = chars("RIFF"), type_ = chars("WAVE"), size_, chunks_;
};

/// Points of "cue ", and the sub-chunks of "LIST" "adtl".
inline Bytes cue(std::initializer_list<std::pair<uint32_t, uint32_t>> points, std::string_view chunk = "data") {
  Bytes body = u32({static_cast<uint32_t>(points.size())});
  for (const auto& [id, position] : points) body = body + u32({id, 0}) + chars(chunk) + u32({0, 0, position});
  return body;
}
inline Bytes subChunk(std::string_view id, const Bytes& body) {
  return chars(id) + u32({static_cast<uint32_t>(body.size())}) + body + (body.size() % 2 == 1 ? u8({0}) : Bytes());
}
inline Bytes labl(uint32_t id, std::string_view text) {
  return subChunk("labl", u32({id}) + chars(text) + u8({0}));
}
inline Bytes ltxt(uint32_t id, uint32_t length) {
  return subChunk("ltxt", u32({id, length}) + chars("rgn ") + u32({0, 0}));
}

/// A file that was read: one waveform, or none and the message.
struct Opened {
  Collection collection;
  ConversionReport report;
  Text error;

  Waveform* wave() const { return collection.waveforms().empty() ? nullptr : collection.waveforms()[0].get(); }
};

inline std::unique_ptr<Opened> open(std::shared_ptr<const ByteSource> source, ReadFn read = readWav) {
  auto opened = std::make_unique<Opened>();
  Host host;
  const Settings settings;
  const SourceFile file{std::move(source), u"folder/tone.wav", host, opened->report, settings};
  if (!read(opened->collection, file, 0)) opened->error = LastErrorText();
  return opened;
}
inline std::unique_ptr<Opened> open(Bytes bytes, ReadFn read = readWav) {
  return open(std::make_shared<MemorySource>(std::move(bytes)), read);
}
inline std::unique_ptr<Opened> open(const WavBuilder& builder) {
  return open(builder.bytes());
}

/// All frames, interleaved.
inline std::vector<float> samplesOf(const Waveform& waveform) {
  std::vector<float> all(static_cast<std::size_t>(waveform.frames() * waveform.channels()));
  const auto stream = waveform.samples->open();
  const auto frames = stream ? stream->read(all) : std::nullopt;
  all.resize(frames.value_or(0) * static_cast<std::size_t>(waveform.channels()));
  return all;
}

struct Saved {
  bool ok = false;
  Bytes bytes;
  ConversionReport report;
};
inline Saved saveWith(const SaveOptions& options, const Item& item, WriteFn write = writeWav, FormatIndex row = 491,
                      uint32_t variant = 0) {
  Saved saved;
  MemorySink sink;
  Host host;
  const Settings settings;
  TargetFile file{sink,   u"out.wav", host, saved.report, settings, FormatTable()[static_cast<std::size_t>(row)],
                  options};
  saved.ok = write(item, file, variant);
  saved.bytes = sink.take();
  return saved;
}
inline Saved save(const Item& item, std::optional<SampleCoding> coding = {}, WriteFn write = writeWav,
                  FormatIndex row = 491, uint32_t variant = 0) {
  return saveWith({.coding = coding}, item, write, row, variant);
}

/// The body of the first chunk of that name in a written file, found without the program's own walker.
inline Bytes chunkOf(const Bytes& file, std::string_view id, ByteOrder order = ByteOrder::little) {
  for (std::size_t at = 12; at + 8 <= file.size();) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i)
      size |= static_cast<std::size_t>(file[at + 4 + i]) << (order == ByteOrder::little ? 8 * i : 24 - 8 * i);
    const auto body = file.begin() + static_cast<std::ptrdiff_t>(at + 8);
    if (std::string_view(reinterpret_cast<const char*>(&file[at]), 4) == id)
      return {body, body + static_cast<std::ptrdiff_t>(size)};
    at += 8 + size + size % 2;
  }
  return {};
}

}  // namespace tervo::test
