#pragma once
// What a piano looks like.

namespace tervo::ui {

/// Of a MIDI key, 0..127.
constexpr bool isBlackKey(int key) {
  constexpr bool black[] = {false, true, false, true, false, false, true, false, true, false, true, false};
  return black[key % 12];
}

}  // namespace tervo::ui
