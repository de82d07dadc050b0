#pragma once
// Serialises item bodies into an image. Its operations are those of BodyReader, so that one description of a body
// (item_bodies.h) serves both.

#include <bit>
#include <optional>
#include <span>

#include "base/endian.h"
#include "core/history/item_image.h"

namespace tervo {

class BodyWriter {
 public:
  static constexpr bool isReading = false;

  bool ok() const { return true; }
  ItemImage take() { return std::move(image_); }

  template <typename T>
  void number(T value) {
    if constexpr (std::is_floating_point_v<T>) {
      number(std::bit_cast<std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>(value));
    } else {
      const Endian<T, ByteOrder::little> stored(value);
      append(std::as_bytes(std::span(&stored, 1)));
    }
  }
  template <typename T>
  void number(T value, T /*lowest*/, T /*highest*/) {
    number(value);
  }
  template <typename T>
  void optionalNumber(const std::optional<T>& value) {
    flag(value.has_value());
    if (value) number(*value);
  }
  void flag(bool value) { number<uint8_t>(value ? 1 : 0); }
  template <typename Enum>
  void choice(Enum value, Enum /*last*/) {
    number(static_cast<uint8_t>(value));
  }
  void count(std::size_t size) { number(static_cast<uint32_t>(size)); }
  void text(TextView text) {
    count(text.size());
    for (const char16_t unit : text) number(static_cast<uint16_t>(unit));
  }
  void bytes(std::span<const std::byte> data) {
    count(data.size());
    append(data);
  }
  void fourCC(const FourCC& code) { append(std::as_bytes(std::span(code.chars))); }
  void identity(const Item& item) { reference(item.id()); }
  void reference(ItemId id) { number(static_cast<uint32_t>(id)); }
  void parameters(const ParameterSet& set) {
    count(set.entries().size());
    for (const auto& [row, value] : set.entries()) number(static_cast<uint16_t>(row)), number(value);
  }
  void samples(const SampleRef& samples) { optional(samples); }
  void picture(const std::shared_ptr<const Picture>& picture) { optional(picture); }
  void stretch(const ForeignChunk& chunk) { attach(SharedStretch{chunk.source, chunk.offset, chunk.bytes}); }

  template <typename Elements, typename Fields>
  void list(const Elements& elements, Fields fields) {
    count(elements.size());
    for (const auto& element : elements) fields(element);
  }

 private:
  void append(std::span<const std::byte> data) { image_.body.insert(image_.body.end(), data.begin(), data.end()); }
  void attach(SharedData data) { image_.attachments.push_back({image_.body.size(), std::move(data)}); }
  template <typename Shared>
  void optional(const Shared& shared) {
    flag(shared != nullptr);
    if (shared) attach(shared);
  }

  ItemImage image_;
};

}  // namespace tervo
