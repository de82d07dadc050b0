#include <algorithm>

#include "core/levels.h"
#include "core/normalise/sample_views.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

class Splitter {
 public:
  explicit Splitter(Pass& pass) : pass_(pass), users_(pass.loaded), waveforms_(pass.loaded.waveforms()) {}

  void split(Waveform& left) {
    reportSamples(pass_.report, left, u"channels", u"stereo", u"dual mono");
    Waveform& right = pass_.loaded.add(std::make_unique<Waveform>());
    left.storedFormat &= ~SplitChannels;
    copySound(left, right);
    right.samples = channelOf(left.samples, 1);
    left.samples = channelOf(left.samples, 0);
    left.name += u"-L";
    right.name += u"-R";
    waveforms_.putBehind(left, right);
    for (Region* region : users_.of(left)) addTwin(*region, left, right);
  }

  /// Puts what has been added where it belongs.
  void sort() {
    pass_.loaded.sortWaveforms([this](const Item& a, const Item& b) { return waveforms_.before(a, b); });
    for (auto& [layer, places] : layers_)
      layer->sortRegions([&order = places](const Item& a, const Item& b) { return order.before(a, b); });
  }

 private:
  void addTwin(Region& region, const Waveform& left, const Waveform& right) {
    Layer& layer = layerOf(region);
    Places& places = layers_.try_emplace(&layer, layer.regions()).first->second;
    Region& twin = layer.add(std::make_unique<Region>());
    places.putBehind(region, twin);
    twin.waveform = right.id();
    twin.trigger = region.trigger;
    twin.trigger.erase(ParameterId::phaseMaster);  // one master a group
    twin.articulation = region.articulation;

    const float pan = effectiveValue(region, ParameterId::panPosition);
    if (pan != 0) pass_.report.approximated(left.name, u"pan of a stereo sound", u"balance", u"pan of two mono sounds");
    region.articulation.set(ParameterId::panPosition, std::max(pan - 1, -1.0f));
    twin.articulation.set(ParameterId::panPosition, std::min(pan + 1, 1.0f));
  }

  Pass& pass_;
  Users users_;
  Places waveforms_;
  std::unordered_map<Layer*, Places> layers_;
};

}  // namespace

bool splitStereo(Pass& pass) {
  std::vector<Waveform*> stereo;
  for (const auto& waveform : pass.loaded.waveforms()) {
    if (waveform->channels() == 2) stereo.push_back(waveform.get());
  }
  if (stereo.empty()) return true;
  pass.host.showStatus(u"Splitting stereo waveforms...");
  Splitter splitter(pass);
  for (Waveform* waveform : stereo) splitter.split(*waveform);
  splitter.sort();
  return true;
}

}  // namespace tervo::fixup
