#include "ui/sound/key_positions.h"

#include <string_view>

#include "platform/key_place.h"

namespace tervo::ui {

char usCharacterAt(uint32_t scanCode) {
  struct Row {
    uint32_t first;
    std::string_view characters;
  };
  constexpr Row rows[] = {{2, "1234567890-="}, {16, "QWERTYUIOP[]"}, {30, "ASDFGHJKL;'`"}, {43, "\\ZXCVBNM,./"}};
  const uint32_t place = platform::keyPlace(scanCode);
  for (const Row& row : rows) {
    if (place >= row.first && place - row.first < row.characters.size()) return row.characters[place - row.first];
  }
  return 0;
}

}  // namespace tervo::ui
