#pragma once
// How parents take and give up children; only the owning kinds use it.

#include <algorithm>
#include <cassert>
#include <memory>
#include <vector>

#include "core/item.h"

namespace tervo {

class ItemOwner {
 public:
  template <typename Kind>
  using List = std::vector<std::unique_ptr<Kind>>;

  template <typename Kind>
  static Kind& adopt(Item& parent, List<Kind>& list, std::unique_ptr<Kind> child) {
    assert(child && !child->parent());
    list.push_back(std::move(child));
    list.back()->parent_ = &parent;
    return *list.back();
  }

  template <typename Kind>
  static Kind& adopt(Item& parent, std::unique_ptr<Kind>& place, std::unique_ptr<Kind> child) {
    assert(child && !child->parent());
    place = std::move(child);
    place->parent_ = &parent;
    return *place;
  }

  /// Moves all of `from` behind `to`, whose capacity must already suffice.
  template <typename Kind>
  static void moveAll(Item& parent, List<Kind>& to, List<Kind>& from) {
    assert(to.capacity() - to.size() >= from.size());
    for (auto& child : from) {
      child->parent_ = &parent;
      to.push_back(std::move(child));
    }
    from.clear();
  }

  /// Exchanges the children of two parents.
  template <typename Kind>
  static void swapAll(Item& parentA, List<Kind>& a, Item& parentB, List<Kind>& b) noexcept {
    a.swap(b);
    for (auto& child : a) child->parent_ = &parentA;
    for (auto& child : b) child->parent_ = &parentB;
  }

  template <typename Kind>
  static void swapOne(Item& parentA, std::unique_ptr<Kind>& a, Item& parentB, std::unique_ptr<Kind>& b) noexcept {
    a.swap(b);
    if (a) a->parent_ = &parentA;
    if (b) b->parent_ = &parentB;
  }

  template <typename Kind>
  static void destroy(List<Kind>& list, ItemId id) {
    std::erase_if(list, [id](const auto& child) { return child->id() == id; });
  }

  template <typename Kind, typename Predicate>
  static void destroyIf(List<Kind>& list, const Predicate& unwanted) {
    std::erase_if(list, [&unwanted](const auto& child) { return unwanted(*child); });
  }

  /// Children that are equal in `before` keep their order.
  template <typename Kind, typename Before>
  static void sort(List<Kind>& list, const Before& before) {
    std::stable_sort(list.begin(), list.end(), [&before](const auto& a, const auto& b) { return before(*a, *b); });
  }
};

}  // namespace tervo
