#include "audio/render/instrument_supply.h"

#include <fmt/format.h>

#include <algorithm>

namespace tervo::audio {
namespace {

constexpr uint32_t drumFlag = 1u << 21, programMask = 0x7F;

const Instrument* findIn(const Collection& collection, uint32_t number) {
  const auto instruments = collection.instruments();
  const auto found = std::find_if(instruments.begin(), instruments.end(), [&](const auto& instrument) {
    return packedNumber(*instrument) == number && instrument->regionCount() > 0;
  });
  return found == instruments.end() ? nullptr : found->get();
}

class Supply {
 public:
  Supply(const Collection& document, const DefaultCollection& defaults, Host& host)
      : document_(document), defaults_(defaults), host_(host) {}

  void plan(uint32_t number, const PlayedNotes& notes) {
    if (const Instrument* instrument = findIn(document_, number)) return use(*instrument, number, notes);
    // What a number may stand for, in this order; the engine looks up the first three by itself.
    for (const uint32_t mask : {0u, bankLsbMask, bankLsbMask | bankMsbMask}) {
      const uint32_t candidate = number & ~mask;
      if (const auto found = planned_.find(candidate); found != planned_.end()) return found->second.notes.add(notes);
      if (const Instrument* instrument = find(candidate)) return use(*instrument, candidate, notes);
    }
    if (number & drumFlag)
      for (const uint32_t mask : {0u, bankLsbMask, bankLsbMask | bankMsbMask})
        if (const Instrument* instrument = find(number & ~(mask | programMask))) return use(*instrument, number, notes);
    missing_.push_back({number, notes.count()});
  }

  Supplied supplied() const {
    Supplied supplied;
    for (const auto& [number, planned] : planned_) supplied.instruments.push_back(planned.instrument);
    supplied.missing = missing_;
    return supplied;
  }

  bool load(Engine& engine) const {
    return std::all_of(planned_.begin(), planned_.end(), [&](const auto& each) {
      return engine.loadInstrumentAs(*each.second.instrument, each.first, Loading::stopped, &each.second.notes);
    });
  }

 private:
  struct Planned {
    const Instrument* instrument = nullptr;
    PlayedNotes notes;
  };

  const Instrument* find(uint32_t number) {
    if (const Instrument* instrument = findIn(document_, number)) return instrument;
    if (!looked_) {
      looked_ = true;
      if (defaults_) opened_ = defaults_();
      if (!opened_)
        host_.showStatus(u"Could not open the default GM/GS collection!\nInstruments will be missing from the song.");
    }
    return opened_ ? findIn(*opened_, number) : nullptr;
  }
  void use(const Instrument& instrument, uint32_t number, const PlayedNotes& notes) {
    planned_[number].instrument = &instrument;
    planned_[number].notes.add(notes);
  }

  const Collection& document_;
  const DefaultCollection& defaults_;
  Host& host_;
  bool looked_ = false;
  const Collection* opened_ = nullptr;
  std::map<uint32_t, Planned> planned_;
  std::vector<Supplied::Missing> missing_;
};

}  // namespace

Text instrumentText(uint32_t number) {
  const uint32_t msb = (number & bankMsbMask) >> 14, lsb = (number & bankLsbMask) >> 7;
  const bool isDrum = number & drumFlag;
  std::string text = fmt::format("{} {}", isDrum ? "drum kit" : "program", number & programMask);
  if (msb || lsb) text += fmt::format(", bank {}/{}", msb, lsb);
  return fromUtf8(text);
}

bool supplyInstruments(Engine& engine, const std::map<uint32_t, PlayedNotes>& numbers, const Collection& document,
                       const DefaultCollection& defaults, Host& host, Supplied& supplied) {
  Supply supply(document, defaults, host);
  for (const auto& [number, notes] : numbers) supply.plan(number, notes);
  supplied = supply.supplied();
  return supply.load(engine);
}

}  // namespace tervo::audio
