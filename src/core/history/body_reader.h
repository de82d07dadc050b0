#pragma once
// Reads item bodies, from images of this process and from files that anybody may have made. Everything is checked that
// the model relies on; memory is asked for only as bytes turn up. Items get new identifiers at first: takeIdentities()
// gives them the recorded ones, once the items that have them now are gone.

#include "base/byte_reader.h"
#include "core/history/item_image.h"
#include "core/parameter_id.h"

namespace tervo {

/// Where the large parts of a body come from.
class AttachmentReader {
 public:
  virtual ~AttachmentReader() = default;

  // Null, or false, when it is not there or damaged.
  virtual SampleRef samples(ByteReader& in) = 0;
  virtual std::shared_ptr<const Picture> picture(ByteReader& in) = 0;
  virtual bool stretch(ByteReader& in, SharedStretch& stretch) = 0;
};

class BodyReader {
 public:
  static constexpr bool isReading = true;
  BodyReader(std::span<const std::byte> bytes, AttachmentReader& attachments) : in_(bytes), attachments_(attachments) {}

  bool ok() const { return in_.ok() && !damaged_; }
  bool atEnd() const { return ok() && in_.atEnd(); }
  void setDamaged() { damaged_ = true; }
  void skip(std::size_t bytes) { in_.skip(bytes); }

  template <typename T>
  T number() {
    return in_.little<T>();
  }
  template <typename T>
  void number(T& value) {
    value = number<T>();
  }
  /// A number that is read from `lowest` to `highest`; others, and what is not a number, are damage.
  template <typename T>
  void number(T& value, T lowest, T highest) {
    number(value);
    if (!(value >= lowest && value <= highest)) setDamaged();
  }
  ItemId itemId() { return ItemId{number<uint32_t>()}; }
  template <typename T>
  void optionalNumber(std::optional<T>& value) {
    bool present = false;
    flag(present);
    if (present) value = number<T>();
  }
  void flag(bool& value) { value = number<uint8_t>() != 0; }
  /// Values behind `last` are damage.
  template <typename Enum>
  void choice(Enum& value, Enum last) {
    const auto stored = number<uint8_t>();
    if (stored > static_cast<uint8_t>(last)) return setDamaged();
    value = static_cast<Enum>(stored);
  }
  uint32_t count() { return number<uint32_t>(); }
  void text(Text& text);
  void bytes(std::vector<std::byte>& data);
  /// The name of a chunk as files have it; one that is not printable is damage.
  void fourCC(FourCC& code);
  /// The identifier that the item is to have in the end. One of another kind, or that no item ever has, is damage.
  void identity(Item& item) { identity(item, itemId()); }
  void identity(Item& item, ItemId id);
  /// The identifier of a waveform, or noItem.
  void reference(ItemId& id);
  void parameters(ParameterSet& set);
  void samples(SampleRef& samples);
  void picture(std::shared_ptr<const Picture>& picture);
  void stretch(ForeignChunk& chunk);

  template <typename Elements, typename Fields>
  void list(Elements& elements, Fields fields) {
    for (uint32_t left = count(); left > 0 && ok(); --left) fields(elements.emplace_back());
  }

  /// Once, after the items have taken their place. An identifier that another item has stays with that one; those with
  /// a serial number so high that few would be left for new items are not taken either.
  void takeIdentities();

 private:
  ByteReader in_;
  AttachmentReader& attachments_;
  bool damaged_ = false;
  std::vector<std::pair<Item*, ItemId>> identities_;
};

}  // namespace tervo
