#include "core/history/document_body.h"

#include <unordered_map>

#include "core/history/item_bodies.h"

namespace tervo::bodies {
namespace {

/// Items by their recorded identifiers, until the collection's record says where they belong.
using Loose = std::unordered_map<uint32_t, std::unique_ptr<Item>>;

template <typename Kind>
void readRecord(BodyReader& reader, ItemId id, Loose& loose) {
  auto item = std::make_unique<Kind>();
  reader.identity(*item, id);
  body(reader, *item);
  if (!loose.emplace(static_cast<uint32_t>(id), std::move(item)).second) reader.setDamaged();
}

void readRecord(BodyReader& reader, Loose& loose) {
  const ItemId id = reader.itemId();
  switch (kindOf(id)) {
    case ItemKind::waveform:
      return readRecord<Waveform>(reader, id, loose);
    case ItemKind::instrument:
      return readRecord<Instrument>(reader, id, loose);
    case ItemKind::song:
      return readRecord<Song>(reader, id, loose);
    default:
      return reader.setDamaged();
  }
}

template <typename Kind>
void place(BodyReader& reader, Loose& loose, Collection& collection) {
  for (uint32_t left = reader.count(); left > 0 && reader.ok(); --left) {
    const ItemId id = reader.itemId();
    const auto found = loose.find(static_cast<uint32_t>(id));
    if (found == loose.end() || kindOf(id) != Kind::itemKind) return reader.setDamaged();
    collection.add(std::unique_ptr<Kind>(static_cast<Kind*>(found->second.release())));
    loose.erase(found);
  }
}

template <typename Items>
void writeRecords(BodyWriter& writer, const Items& items) {
  for (const auto& item : items) {
    writer.identity(*item);
    body(writer, std::as_const(*item));
  }
}

template <typename Items>
void writeList(BodyWriter& writer, const Items& items) {
  writer.list(items, [&](const auto& item) { writer.identity(*item); });
}

template <typename Archive, typename T>
void ownFields(Archive& a, T& collection) {
  a.text(collection.name);
  tags(a, collection.tags);
  a.number(collection.sourceFormat);
}

}  // namespace

void writeDocument(BodyWriter& writer, const Collection& collection) {
  writer.count(collection.waveforms().size() + collection.instruments().size() + collection.songs().size() + 1);
  writeRecords(writer, collection.waveforms());
  writeRecords(writer, collection.instruments());
  writeRecords(writer, collection.songs());
  writeList(writer, collection.instruments());
  writeList(writer, collection.waveforms());
  writeList(writer, collection.songs());
  ownFields(writer, collection);
}

void readDocument(BodyReader& reader, Collection& collection) {
  const uint32_t records = reader.count();
  if (records == 0) return reader.setDamaged();
  Loose loose;
  for (uint32_t left = records - 1; left > 0 && reader.ok(); --left) readRecord(reader, loose);
  if (!reader.ok()) return;
  place<Instrument>(reader, loose, collection);
  place<Waveform>(reader, loose, collection);
  place<Song>(reader, loose, collection);
  ownFields(reader, collection);
  if (!loose.empty()) reader.setDamaged();
}

}  // namespace tervo::bodies
