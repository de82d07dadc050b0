#include "formats/wave/id3_tags.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/byte_reader.h"

namespace tervo {
namespace {

// Header flags.
constexpr unsigned unsynchronised = 0x80, extendedHeader = 0x40;
// Frame flags, second byte.
constexpr unsigned compressed23 = 0x80, encrypted23 = 0x40, grouped23 = 0x20;
constexpr unsigned grouped24 = 0x40, compressed24 = 0x08, encrypted24 = 0x04, unsynchronised24 = 0x02,
                   hasLength24 = 0x01;

constexpr uint8_t frontCover = 3;

struct FrameName {
  std::string_view id22, id23;
  Tag tag;
};
constexpr FrameName frameNames[] = {
    {"TT2", "TIT2", Tag::name},    {"TP1", "TPE1", Tag::artist},    {"COM", "COMM", Tag::comments},
    {"TAL", "TALB", Tag::product}, {"TCR", "TCOP", Tag::copyright},
};

struct Frame {
  std::string id;
  std::vector<std::byte> body;
};

// Seven bits a byte, so that no size looks like the sync word of an MPEG frame.
uint32_t syncSafe(uint32_t bytes) {
  return (bytes & 0x7F) | ((bytes >> 1) & 0x3F80) | ((bytes >> 2) & 0x1FC000) | ((bytes >> 3) & 0xFE00000);
}

std::vector<std::byte> withoutUnsynchronisation(std::span<const std::byte> bytes) {
  std::vector<std::byte> out;
  out.reserve(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    out.push_back(bytes[i]);
    if (bytes[i] == std::byte{0xFF} && i + 1 < bytes.size() && bytes[i + 1] == std::byte{0}) ++i;
  }
  return out;
}

Text fromUtf16(std::span<const std::byte> bytes, ByteOrder order) {
  ByteReader reader(bytes);
  Text text;
  while (reader.remaining() >= 2) {
    text.push_back(
        static_cast<char16_t>(order == ByteOrder::little ? reader.little<uint16_t>() : reader.big<uint16_t>()));
  }
  return text;
}

Text decodeText(std::span<const std::byte> bytes, uint8_t encoding) {
  if (encoding == 1 && bytes.size() >= 2) {
    const bool isBig = bytes[0] == std::byte{0xFE} && bytes[1] == std::byte{0xFF};
    const bool hasMark = isBig || (bytes[0] == std::byte{0xFF} && bytes[1] == std::byte{0xFE});
    return fromUtf16(bytes.subspan(hasMark ? 2 : 0), isBig ? ByteOrder::big : ByteOrder::little);
  }
  if (encoding == 2) return fromUtf16(bytes, ByteOrder::big);
  return fromFileText({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

// Cuts the bytes of a zero-terminated string off the front.
std::span<const std::byte> takeString(std::span<const std::byte>& bytes, uint8_t encoding) {
  const std::size_t width = encoding == 1 || encoding == 2 ? 2 : 1;
  for (std::size_t at = 0; at + width <= bytes.size(); at += width) {
    const auto unit = bytes.subspan(at, width);
    if (std::any_of(unit.begin(), unit.end(), [](std::byte b) { return b != std::byte{0}; })) continue;
    const auto string = bytes.first(at);
    bytes = bytes.subspan(at + width);
    return string;
  }
  return std::exchange(bytes, {});
}

uint8_t takeByte(std::span<const std::byte>& bytes) {
  if (bytes.empty()) return 0;
  const auto first = static_cast<uint8_t>(bytes[0]);
  bytes = bytes.subspan(1);
  return first;
}

// Version 2.4 allows several values, one after another.
Text readTextFrame(std::span<const std::byte> body) {
  const uint8_t encoding = takeByte(body);
  Text all;
  while (!body.empty()) {
    const Text value = decodeText(takeString(body, encoding), encoding);
    if (!value.empty()) all += (all.empty() ? u"" : u"; ") + value;
  }
  return all;
}

struct Comment {
  Text description, text;
};

Comment readComment(std::span<const std::byte> body) {
  const uint8_t encoding = takeByte(body);
  body = body.subspan(std::min<std::size_t>(3, body.size()));  // language
  Comment comment;
  comment.description = decodeText(takeString(body, encoding), encoding);
  comment.text = decodeText(takeString(body, encoding), encoding);
  return comment;
}

struct FoundPicture {
  std::shared_ptr<const Picture> picture;
  uint8_t kind = 0;
};

std::optional<FoundPicture> readPicture(std::span<const std::byte> body, bool isVersion22) {
  const uint8_t encoding = takeByte(body);
  if (isVersion22) {
    body = body.subspan(std::min<std::size_t>(3, body.size()));
  } else {
    takeString(body, 0);  // the type is better told from the picture itself
  }
  const uint8_t kind = takeByte(body);
  takeString(body, encoding);
  Picture picture{{body.begin(), body.end()}, mimeTypeOf(body)};
  if (picture.mimeType.empty()) return std::nullopt;
  return FoundPicture{std::make_shared<const Picture>(std::move(picture)), kind};
}

// Reads frame after frame; stops at padding or nonsense.
class FrameReader {
 public:
  FrameReader(std::span<const std::byte> bytes, int version, bool allUnsynchronised)
      : reader_(bytes), version_(version), allUnsynchronised_(allUnsynchronised) {}

  std::optional<Frame> next() {
    const std::string id(reader_.chars(version_ == 2 ? 3 : 4));
    if (id.empty() || id[0] == '\0') return std::nullopt;
    const uint32_t size = readSize();
    const unsigned flags = version_ == 2 ? 0 : reader_.big<uint16_t>() & 0xFFu;
    const auto body = reader_.take(size);
    if (!reader_.ok()) return std::nullopt;
    return Frame{id, content(body, flags)};
  }

 private:
  uint32_t readSize() {
    if (version_ == 2) {
      const uint32_t high = reader_.u8();
      return high << 16 | reader_.big<uint16_t>();
    }
    const auto size = reader_.big<uint32_t>();
    // Some writers of 2.4 forget to spread the bits.
    return version_ == 4 && (size & 0x80808080) == 0 ? syncSafe(size) : size;
  }

  // The frame's bytes proper; none when they are compressed or encrypted.
  std::vector<std::byte> content(std::span<const std::byte> body, unsigned flags) const {
    const bool is24 = version_ == 4;
    if ((flags & (is24 ? compressed24 | encrypted24 : compressed23 | encrypted23)) != 0) return {};
    std::size_t skip = (flags & (is24 ? grouped24 : grouped23)) != 0 ? 1 : 0;
    if (is24 && (flags & hasLength24) != 0) skip += 4;
    body = body.subspan(std::min(skip, body.size()));
    if (is24 && (allUnsynchronised_ || (flags & unsynchronised24) != 0)) return withoutUnsynchronisation(body);
    return {body.begin(), body.end()};
  }

  ByteReader reader_;
  int version_;
  bool allUnsynchronised_;
};

class TagCollector {
 public:
  explicit TagCollector(int version) : version_(version) {}

  void add(const Frame& frame) {
    if (frame.id == "APIC" || frame.id == "PIC") return addPicture(frame);
    for (const auto& name : frameNames) {
      if (frame.id != (version_ == 2 ? name.id22 : name.id23)) continue;
      const Text text = name.tag == Tag::comments ? commentOf(frame) : readTextFrame(frame.body);
      if (!text.empty()) found_[name.tag] = text;
    }
  }

  void applyTo(Tags& tags) const {
    for (std::size_t i = 0; i < tagCount; ++i) {
      if (!found_.texts[i].empty()) tags.texts[i] = found_.texts[i];
    }
    if (found_.image) tags.image = found_.image;
  }

 private:
  // The comment without a description is the user's; programs store their own data under descriptions.
  Text commentOf(const Frame& frame) {
    const Comment comment = readComment(frame.body);
    const bool isFirst = found_[Tag::comments].empty() && !comment.description.starts_with(u"iTun");
    return comment.description.empty() || isFirst ? comment.text : Text();
  }
  void addPicture(const Frame& frame) {
    const auto picture = readPicture(frame.body, version_ == 2);
    if (!picture || (found_.image && picture->kind != frontCover)) return;
    found_.image = picture->picture;
  }

  int version_;
  Tags found_;
};

void appendBig(std::vector<std::byte>& out, uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<std::byte>(value >> shift));
}
void append(std::vector<std::byte>& out, std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text));
  out.insert(out.end(), bytes.begin(), bytes.end());
}
bool isAscii(TextView text) {
  return std::all_of(text.begin(), text.end(), [](char16_t c) { return c < 0x80; });
}
void appendText(std::vector<std::byte>& out, TextView text, bool isPlain) {
  if (isPlain) return append(out, toUtf8(text));
  append(out, "\xFF\xFE");
  for (const char16_t c : text) {
    out.push_back(static_cast<std::byte>(c & 0xFF));
    out.push_back(static_cast<std::byte>(c >> 8));
  }
}

void appendFrame(std::vector<std::byte>& out, std::string_view id, std::span<const std::byte> body) {
  append(out, id);
  appendBig(out, static_cast<uint32_t>(body.size()));
  out.insert(out.end(), 2, std::byte{0});  // flags
  out.insert(out.end(), body.begin(), body.end());
}

void appendTextFrame(std::vector<std::byte>& out, const FrameName& name, TextView text) {
  const bool isPlain = isAscii(text);
  std::vector<std::byte> body{isPlain ? std::byte{0} : std::byte{1}};
  if (name.tag == Tag::comments) {
    append(body, "eng");
    appendText(body, u"", isPlain);
    body.insert(body.end(), isPlain ? 1 : 2, std::byte{0});
  }
  appendText(body, text, isPlain);
  appendFrame(out, name.id23, body);
}

}  // namespace

bool readId3(std::span<const std::byte> bytes, Tags& tags) {
  ByteReader reader(bytes);
  if (reader.chars(3) != "ID3") return false;
  const int version = reader.u8();
  reader.skip(1);
  const unsigned flags = reader.u8();
  const uint32_t size = syncSafe(reader.big<uint32_t>());
  if (!reader.ok() || version < 2 || version > 4) return false;
  if (version == 2 && (flags & extendedHeader) != 0) return false;  // in 2.2 this bit says "compressed"

  const auto stored = reader.take(std::min<std::size_t>(size, reader.remaining()));
  const bool isUnsynchronised = (flags & unsynchronised) != 0;
  std::vector<std::byte> plain;
  if (isUnsynchronised && version < 4) plain = withoutUnsynchronisation(stored);
  std::span<const std::byte> frames = plain.empty() ? stored : std::span<const std::byte>(plain);
  if ((flags & extendedHeader) != 0) {
    const auto length = ByteReader(frames).big<uint32_t>();
    const std::size_t skip = version == 4 ? syncSafe(length) : std::size_t{length} + 4;
    frames = frames.subspan(std::min(skip, frames.size()));
  }

  FrameReader frameReader(frames, version, isUnsynchronised);
  TagCollector collector(version);
  while (const auto frame = frameReader.next()) collector.add(*frame);
  collector.applyTo(tags);
  return true;
}

std::vector<std::byte> makeId3(const Tags& tags) {
  std::vector<std::byte> frames;
  for (const auto& name : frameNames) {
    if (!tags[name.tag].empty()) appendTextFrame(frames, name, tags[name.tag]);
  }
  if (tags.image) {
    std::vector<std::byte> body{std::byte{0}};
    append(body, tags.image->mimeType);
    body.insert(body.end(), {std::byte{0}, std::byte{frontCover}, std::byte{0}});
    body.insert(body.end(), tags.image->bytes.begin(), tags.image->bytes.end());
    appendFrame(frames, "APIC", body);
  }
  if (frames.empty()) return {};
  std::vector<std::byte> tag;
  append(tag, std::string_view("ID3\x03\0\0", 6));
  const auto size = static_cast<uint32_t>(frames.size());
  appendBig(tag, (size & 0x7F) | (size << 1 & 0x7F00) | (size << 2 & 0x7F0000) | (size << 3 & 0x7F000000));
  tag.insert(tag.end(), frames.begin(), frames.end());
  return tag;
}

}  // namespace tervo
