#include "core/normalise/channel_names.h"

#include <algorithm>
#include <array>

namespace tervo::fixup {
namespace {

enum class Case { any, exact };

struct Convention {
  TextView left;
  TextView right;
  Case letters;
};

// Longer endings first. A bare letter only as a capital: "bell" is no left channel.
constexpr std::array<Convention, 8> conventions = {{
    {u"left", u"right", Case::any},
    {u"(l)", u"(r)", Case::any},
    {u"[l]", u"[r]", Case::any},
    {u"-l", u"-r", Case::any},
    {u"_l", u"_r", Case::any},
    {u".l", u".r", Case::any},
    {u" l", u" r", Case::any},
    {u"L", u"R", Case::exact},
}};

bool isBlankOrMark(char16_t c) {
  return TextView(u" -_.\t").find(c) != TextView::npos;
}

TextView withoutTail(TextView text, bool (*unwanted)(char16_t)) {
  while (!text.empty() && unwanted(text.back())) text.remove_suffix(1);
  return text;
}

bool endsWith(TextView name, TextView ending, Case letters) {
  if (name.size() <= ending.size()) return false;
  const TextView tail = name.substr(name.size() - ending.size());
  return letters == Case::any ? equalNoCase(tail, ending) : tail == ending;
}

}  // namespace

Text ChannelName::stem() const {
  return Text(withoutTail(front, isBlankOrMark));
}

std::optional<ChannelName> channelNameOf(TextView name) {
  name = withoutTail(name, [](char16_t c) { return c == u' '; });
  for (std::size_t i = 0; i < conventions.size(); ++i) {
    for (const auto side : {ChannelName::Side::left, ChannelName::Side::right}) {
      const TextView ending = side == ChannelName::Side::left ? conventions[i].left : conventions[i].right;
      if (!endsWith(name, ending, conventions[i].letters)) continue;
      const std::size_t front = name.size() - ending.size();
      ChannelName found{Text(name.substr(0, front)), Text(name.substr(front)), i, side};
      if (!found.stem().empty()) return found;
    }
  }
  return std::nullopt;
}

Text folded(TextView name) {
  Text result(name);
  std::transform(result.begin(), result.end(), result.begin(), upper);
  return result;
}

Text pairKey(const ChannelName& name) {
  return folded(name.front) + static_cast<char16_t>(name.convention);
}

Text foldedPartner(const ChannelName& name) {
  const Convention& convention = conventions[name.convention];
  return folded(name.front + Text(name.side == ChannelName::Side::left ? convention.right : convention.left));
}

}  // namespace tervo::fixup
