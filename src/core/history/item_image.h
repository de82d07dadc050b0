#pragma once
// The content of an item and of everything below it, frozen: serialised numbers and texts, and references to what is
// large and never changes (sample data, pictures, stretches of files). So an image costs a few hundred bytes whatever
// the length of a waveform, can be compared, put back, and written to a file from another thread.

#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

#include "core/collection.h"

namespace tervo {

/// Bytes that stay where they are.
struct SharedStretch {
  std::shared_ptr<const ByteSource> source;
  uint64_t offset = 0;
  uint64_t bytes = 0;

  bool operator==(const SharedStretch&) const = default;
};

using SharedData = std::variant<SampleRef, std::shared_ptr<const Picture>, SharedStretch>;

/// Something large that belongs into the body at `position`.
struct Attachment {
  std::size_t position = 0;
  SharedData data;

  bool operator==(const Attachment&) const = default;
};

struct ItemImage {
  std::vector<std::byte> body;
  std::vector<Attachment> attachments;  ///< by ascending position

  /// The same content: equal bytes, and the very same samples and pictures.
  bool operator==(const ItemImage&) const = default;
};

// Document thread. All throw std::bad_alloc when memory is short; the document is then as it was.

ItemImage imageOf(const Item& item);
/// Gives the item the content that its image has; items below it come back under the identifiers that they had. False
/// when the image is of another kind, with nothing changed.
bool applyImage(Item& item, const ItemImage& image);

/// The markers of a waveform alone, and which waveform that is.
ItemImage markerImageOf(const Waveform& waveform);
/// The waveform of a marker image; null when it was deleted.
Waveform* waveformOfMarkers(const ItemImage& image);
bool applyMarkers(Waveform& waveform, const ItemImage& image);

}  // namespace tervo
