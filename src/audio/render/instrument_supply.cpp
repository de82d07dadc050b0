#include "audio/render/instrument_supply.h"

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
  Supply(Engine& engine, const Collection& document, const DefaultCollection& defaults, Host& host)
      : engine_(engine), document_(document), defaults_(defaults), host_(host) {}

  bool fill(uint32_t number) {
    if (const Instrument* instrument = findIn(document_, number)) return load(*instrument, number);
    // What a number may stand for, in this order; the engine looks up the first three by itself.
    for (const uint32_t mask : {0u, bankLsbMask, bankLsbMask | bankMsbMask}) {
      const uint32_t candidate = number & ~mask;
      if (engine_.has(candidate)) return true;
      if (const Instrument* instrument = find(candidate)) return load(*instrument, candidate);
    }
    if ((number & drumFlag) == 0) return true;
    for (const uint32_t mask : {0u, bankLsbMask, bankLsbMask | bankMsbMask})
      if (const Instrument* instrument = find(number & ~(mask | programMask))) return load(*instrument, number);
    return true;
  }

 private:
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
  bool load(const Instrument& instrument, uint32_t number) {
    return engine_.has(number) || engine_.loadInstrumentAs(instrument, number, Loading::stopped);
  }

  Engine& engine_;
  const Collection& document_;
  const DefaultCollection& defaults_;
  Host& host_;
  bool looked_ = false;
  const Collection* opened_ = nullptr;
};

}  // namespace

bool supplyInstruments(Engine& engine, const std::set<uint32_t>& numbers, const Collection& document,
                       const DefaultCollection& defaults, Host& host) {
  Supply supply(engine, document, defaults, host);
  return std::all_of(numbers.begin(), numbers.end(), [&](uint32_t number) { return supply.fill(number); });
}

}  // namespace tervo::audio
