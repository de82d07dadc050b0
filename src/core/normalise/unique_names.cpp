#include <fmt/format.h>

#include <unordered_map>
#include <unordered_set>

#include "core/normalise/channel_names.h"
#include "core/normalise/steps.h"

namespace tervo::fixup {
namespace {

/// "Piano" and 2 make "Piano 2".
Text numbered(TextView name, int number) {
  const Text suffix = fromUtf8(fmt::format("{}", number));
  return name.empty() ? suffix : Text(name) + u" " + suffix;
}

class UniqueNames {
 public:
  /// An item's name that stays; false when the name is already there.
  bool keep(TextView name) { return kept_.insert(folded(name)).second; }

  /// Another name, made from one that is already there.
  Text renamed(const Text& name) {
    const auto channel = channelNameOf(name);
    const bool isOfPair = channel && isTaken(foldedPartner(*channel));
    int& number = last_.try_emplace(folded(name), 1).first->second;
    Text result;
    do {
      ++number;
      result = isOfPair ? numberedChannel(*channel, number) : numbered(name, number);
    } while (isTaken(folded(result)) || (isOfPair && becomesPartner(result)));
    given_.insert(folded(result));
    return result;
  }

 private:
  bool isTaken(const Text& foldedName) const { return kept_.contains(foldedName) || given_.contains(foldedName); }

  /// The number goes before the ending, so that both channels of a pair still name each other.
  static Text numberedChannel(const ChannelName& channel, int number) {
    const Text stem = channel.stem();
    return numbered(stem, number) + channel.front.substr(stem.size()) + channel.ending;
  }

  /// A new name must not make a pair with a waveform that has had nothing to do with this one.
  bool becomesPartner(TextView name) const {
    const auto channel = channelNameOf(name);
    return channel && kept_.contains(foldedPartner(*channel));
  }

  std::unordered_set<Text> kept_;
  std::unordered_set<Text> given_;
  std::unordered_map<Text, int> last_;
};

template <typename List>
void makeUnique(Pass& pass, const List& loaded, const List* there, TextView what) {
  UniqueNames names;
  if (there) {
    for (const auto& item : *there) names.keep(item->name);
  }
  // Names that are unique stay, also those behind an item that needs another one.
  std::vector<typename List::value_type::pointer> repeated;
  for (const auto& item : loaded) {
    if (!names.keep(item->name)) repeated.push_back(item.get());
  }
  for (auto* item : repeated) {
    Text name = names.renamed(item->name);
    pass.report.add({item->name, Text(what), ReportKind::kept, item->name, name});
    item->name = std::move(name);
  }
}

}  // namespace

bool makeNamesUnique(Pass& pass) {
  const auto waveforms = pass.loaded.waveforms();
  const auto instruments = pass.loaded.instruments();
  if (!pass.mergedInto) {
    makeUnique<decltype(waveforms)>(pass, waveforms, nullptr, u"waveform name");
    makeUnique<decltype(instruments)>(pass, instruments, nullptr, u"instrument name");
    return true;
  }
  const auto waveformsThere = pass.mergedInto->waveforms();
  const auto instrumentsThere = pass.mergedInto->instruments();
  makeUnique(pass, waveforms, &waveformsThere, u"waveform name");
  makeUnique(pass, instruments, &instrumentsThere, u"instrument name");
  return true;
}

}  // namespace tervo::fixup
