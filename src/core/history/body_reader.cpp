#include "core/history/body_reader.h"

#include <algorithm>

namespace tervo {

void BodyReader::text(Text& text) {
  const uint32_t units = count();
  if (units > in_.remaining() / sizeof(char16_t)) return setDamaged();
  text.resize(units);
  for (char16_t& unit : text) unit = static_cast<char16_t>(number<uint16_t>());
}

void BodyReader::bytes(std::vector<std::byte>& data) {
  const auto taken = in_.take(count());
  data.assign(taken.begin(), taken.end());
}

void BodyReader::identity(Item& item, ItemId id) {
  if (kindOf(id) != item.kind()) return setDamaged();
  identities_.emplace_back(&item, id);
}

void BodyReader::parameters(ParameterSet& set) {
  int before = -1;
  for (uint32_t left = count(); left > 0 && ok(); --left) {
    const int row = number<uint16_t>();
    const auto value = number<float>();
    if (row <= before || row >= parameterCount) return setDamaged();
    set.set(static_cast<ParameterId>(row), value);
    before = row;
  }
}

void BodyReader::samples(SampleRef& samples) {
  bool present = false;
  flag(present);
  if (!present || !ok()) return;
  samples = attachments_.samples(in_);
  if (!samples) setDamaged();
}

void BodyReader::picture(std::shared_ptr<const Picture>& picture) {
  bool present = false;
  flag(present);
  if (!present || !ok()) return;
  picture = attachments_.picture(in_);
  if (!picture) setDamaged();
}

void BodyReader::stretch(ForeignChunk& chunk) {
  SharedStretch stretch;
  if (!ok() || !attachments_.stretch(in_, stretch)) return setDamaged();
  chunk.source = std::move(stretch.source);
  chunk.offset = stretch.offset;
  chunk.bytes = stretch.bytes;
}

void BodyReader::takeIdentities() {
  std::vector<std::pair<ItemId, ItemId>> renamed;
  for (const auto& [item, id] : identities_) {
    if (!reclaimId(*item, id) && item->kind() == ItemKind::waveform) renamed.emplace_back(id, item->id());
  }
  for (const auto& [item, id] : identities_) {
    if (item->kind() != ItemKind::region) continue;
    ItemId& waveform = static_cast<Region*>(item)->waveform;
    const auto other =
        std::find_if(renamed.begin(), renamed.end(), [&](const auto& pair) { return pair.first == waveform; });
    if (other != renamed.end()) waveform = other->second;
    reserveId(waveform);
  }
}

}  // namespace tervo
