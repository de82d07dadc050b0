#pragma once
// The per-user store of named, typed values that the settings are kept in: the current user's registry on Windows, one
// text file on Linux.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "base/text.h"

namespace tervo::platform {

using SettingBytes = std::vector<std::byte>;
/// Binary (registry type 3), 32-bit number (type 4) or wide text (type 1).
using StoredValue = std::variant<SettingBytes, uint32_t, Text>;

struct StoredSetting {
  Text name;
  StoredValue value;
};

class SettingsBackend {
 public:
  virtual ~SettingsBackend() = default;

  /// All values that are stored; names are compared without regard to case. A store that does not exist yet is empty.
  virtual std::vector<StoredSetting> readAll() = 0;
  /// Writes these values and leaves all others as they are; all of them or, where the system allows it, none. Safe
  /// against another process that writes at the same time: no value of either is lost unless both wrote it.
  virtual bool write(std::span<const StoredSetting> values) = 0;
};

/// The user's store: "Software\QZR-Software\Tervo Studio" under the current user on Windows,
/// "<config folder>/tervo-studio/settings" on Linux. The environment variable TERVO_SETTINGS names another registry
/// key or file (tests and portable use).
std::unique_ptr<SettingsBackend> openUserSettings();
/// The store in this registry key or file.
std::unique_ptr<SettingsBackend> openSettingsAt(TextView place);

}  // namespace tervo::platform
