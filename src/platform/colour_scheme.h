#pragma once
// Whether the user wants programs light or dark, as far as the system itself keeps that.

#include <functional>
#include <memory>

namespace tervo::platform {

enum class ColourScheme { none, light, dark };

/// On Windows 10 and later what its settings say of apps; none in its high-contrast themes, whose colours are to be
/// taken as they are. On Linux what GTK's settings files ask for: the desktops' own word comes over D-Bus.
ColourScheme colourScheme();

/// Tells of changes as long as it lives.
class ColourSchemeWatch {
 public:
  /// `changed` is called in a thread of the watch's own, also when something else has changed. Null where the system
  /// tells nobody.
  static std::unique_ptr<ColourSchemeWatch> start(std::function<void()> changed);
  virtual ~ColourSchemeWatch() = default;
};

}  // namespace tervo::platform
