#include "core/history/body_reader.h"

#include <cmath>
#include <unordered_map>

namespace tervo {
namespace {

uint32_t serialOf(ItemId id) {
  return static_cast<uint32_t>(id) & 0x0FFFFFFF;
}

/// Whether half of all serial numbers are left behind this one.
bool leavesRoom(ItemId id) {
  return serialOf(id) < 1u << 27;
}

}  // namespace

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

void BodyReader::fourCC(FourCC& code) {
  code = in_.fourCC();
  if (!isPrintable(code)) setDamaged();
}

void BodyReader::identity(Item& item, ItemId id) {
  if (kindOf(id) != item.kind() || serialOf(id) == 0) return setDamaged();
  identities_.emplace_back(&item, id);
}

void BodyReader::reference(ItemId& id) {
  id = itemId();
  if (id != noItem && (kindOf(id) != ItemKind::waveform || serialOf(id) == 0)) setDamaged();
}

void BodyReader::parameters(ParameterSet& set) {
  int before = -1;
  for (uint32_t left = count(); left > 0 && ok(); --left) {
    const int row = number<uint16_t>();
    const auto value = number<float>();
    if (row <= before || row >= parameterCount || !std::isfinite(value)) return setDamaged();
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
  std::unordered_map<ItemId, ItemId> renamed;  // waveforms
  for (const auto& [item, id] : identities_) {
    const bool isTaken = leavesRoom(id) && reclaimId(*item, id);
    if (!isTaken && item->kind() == ItemKind::waveform) renamed.emplace(id, item->id());
  }
  for (const auto& [item, id] : identities_) {
    if (item->kind() != ItemKind::region) continue;
    ItemId& waveform = static_cast<Region*>(item)->waveform;
    if (const auto other = renamed.find(waveform); other != renamed.end()) waveform = other->second;
    if (leavesRoom(waveform)) {
      reserveId(waveform);
    } else if (!findItem(waveform)) {
      waveform = noItem;
    }
  }
}

}  // namespace tervo
