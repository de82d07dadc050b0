#pragma once
// Text tags and the picture that a collection and each waveform carry.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/text.h"

namespace tervo {

enum class Tag : uint8_t { name, artist, comments, copyright, engineer, product, sourceFile };
inline constexpr std::size_t tagCount = 7;

/// "Name", "Artist", "Comments", "Copyright", "Engineer", "Product", "Source file on disk".
TextView nameOf(Tag tag);

/// The bytes of a JPEG, PNG or GIF file.
struct Picture {
  std::vector<std::byte> bytes;
  std::string mimeType;  ///< "image/jpeg", "image/png" or "image/gif"
};

/// The MIME type by the picture's first bytes; empty when it is none of the three.
std::string mimeTypeOf(std::span<const std::byte> picture);

struct Tags {
  std::array<Text, tagCount> texts;
  std::shared_ptr<const Picture> image;

  Text& operator[](Tag tag) { return texts[static_cast<std::size_t>(tag)]; }
  const Text& operator[](Tag tag) const { return texts[static_cast<std::size_t>(tag)]; }
};

}  // namespace tervo
