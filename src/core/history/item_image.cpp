#include "core/history/item_image.h"

#include "core/history/document_body.h"
#include "core/history/item_bodies.h"

namespace tervo {
namespace {

/// The attachments of an image, in their order.
class ImageAttachments final : public AttachmentReader {
 public:
  explicit ImageAttachments(const ItemImage& image) : next_(image.attachments.begin()), end_(image.attachments.end()) {}

  SampleRef samples(ByteReader&) override { return next<SampleRef>(); }
  std::shared_ptr<const Picture> picture(ByteReader&) override { return next<std::shared_ptr<const Picture>>(); }
  bool stretch(ByteReader&, SharedStretch& stretch) override {
    stretch = next<SharedStretch>();
    return true;
  }

 private:
  template <typename Shared>
  Shared next() {
    const Shared* shared = next_ == end_ ? nullptr : std::get_if<Shared>(&next_->data);
    return shared ? ++next_, *shared : Shared();
  }

  std::vector<Attachment>::const_iterator next_, end_;
};

template <typename Kind>
void write(BodyWriter& writer, const Item& item) {
  bodies::body(writer, static_cast<const Kind&>(item));
}

/// Reads into an item of its own first, so that a failure leaves the live one alone.
template <typename Kind, typename Read>
bool apply(Item& item, const ItemImage& image, Read read) {
  ImageAttachments attachments(image);
  BodyReader reader(image.body, attachments);
  {
    Kind restored;
    read(reader, restored);
    if (!reader.atEnd()) return false;
    static_cast<Kind&>(item).swapContent(restored);
  }
  reader.takeIdentities();
  return true;
}

template <typename Kind>
bool apply(Item& item, const ItemImage& image) {
  return apply<Kind>(item, image, [](BodyReader& reader, Kind& restored) { bodies::body(reader, restored); });
}

/// What serves a kind; both null for those that have no content.
struct KindOperations {
  void (*write)(BodyWriter&, const Item&) = nullptr;
  bool (*apply)(Item&, const ItemImage&) = nullptr;
};

template <typename Kind>
constexpr KindOperations operationsFor = {write<Kind>, apply<Kind>};

void writeCollection(BodyWriter& writer, const Item& item) {
  bodies::writeDocument(writer, static_cast<const Collection&>(item));
}
bool applyCollection(Item& item, const ItemImage& image) {
  return apply<Collection>(item, image, bodies::readDocument);
}

KindOperations operationsOf(ItemKind kind) {
  // clang-format off
  static constexpr KindOperations operations[itemKindCount] = {
      operationsFor<Waveform>, operationsFor<Synth>, operationsFor<Region>, operationsFor<Layer>,
      operationsFor<Instrument>, operationsFor<Track>, operationsFor<Song>, {writeCollection, applyCollection}, {}};
  // clang-format on
  return operations[static_cast<std::size_t>(kind)];
}

}  // namespace

ItemImage imageOf(const Item& item) {
  BodyWriter writer;
  if (const auto operations = operationsOf(item.kind()); operations.write) operations.write(writer, item);
  return writer.take();
}

bool applyImage(Item& item, const ItemImage& image) {
  const auto operations = operationsOf(item.kind());
  return operations.apply && operations.apply(item, image);
}

ItemImage markerImageOf(const Waveform& waveform) {
  BodyWriter writer;
  writer.identity(waveform);
  bodies::markers(writer, waveform.markers);
  return writer.take();
}

Waveform* waveformOfMarkers(const ItemImage& image) {
  return findItem<Waveform>(ItemId{ByteReader(image.body).little<uint32_t>()});
}

bool applyMarkers(Waveform& waveform, const ItemImage& image) {
  ImageAttachments attachments(image);
  BodyReader reader(image.body, attachments);
  reader.itemId();
  std::vector<Marker> markers;
  bodies::markers(reader, markers);
  if (!reader.atEnd()) return false;
  waveform.markers.swap(markers);
  return true;
}

}  // namespace tervo
