#include "platform/colour_scheme.h"

#include <cctype>
#include <fstream>
#include <string>

#include "platform/path.h"
#include "platform/user_folders.h"

namespace tervo::platform {
namespace {

std::string squeezed(std::string_view line) {
  std::string kept;
  for (const char c : line) {
    if (std::isspace(static_cast<unsigned char>(c)) == 0)
      kept += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return kept;
}

/// GTK 4, "GtkSettings": `gtk-application-prefer-dark-theme`, and a theme may be dark by its name alone.
ColourScheme schemeIn(const Text& settingsFile) {
  constexpr std::string_view preference = "gtk-application-prefer-dark-theme=", theme = "gtk-theme-name=";
  std::ifstream file(toPathBytes(settingsFile));
  for (std::string line; std::getline(file, line);) {
    line = squeezed(line);
    if (line == std::string(preference) + "1" || line == std::string(preference) + "true") return ColourScheme::dark;
    if (line.starts_with(theme) && line.ends_with("dark")) return ColourScheme::dark;
  }
  return ColourScheme::none;
}

}  // namespace

ColourScheme colourScheme() {
  for (const TextView version : {u"gtk-4.0", u"gtk-3.0"}) {
    if (schemeIn(join(join(configFolder(), version), u"settings.ini")) == ColourScheme::dark) return ColourScheme::dark;
  }
  return ColourScheme::none;
}

std::unique_ptr<ColourSchemeWatch> ColourSchemeWatch::start(std::function<void()>) {
  return nullptr;
}

}  // namespace tervo::platform
