#include "platform/colour_scheme.h"

#include <gtest/gtest.h>

#include <future>

#include "platform/windows/wide.h"

namespace tervo::platform {
namespace {

TEST(ColourScheme, IsThatOfTheSystemAndChangesAreTold) {
  constexpr wchar_t key[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
  constexpr wchar_t name[] = L"AppsUseLightTheme";
  const auto put = [&](DWORD isLight) {
    return RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_DWORD, &isLight, sizeof isLight) == ERROR_SUCCESS;
  };
  DWORD before = 1, size = sizeof before;
  const bool wasThere =
      RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_REG_DWORD, nullptr, &before, &size) == ERROR_SUCCESS;

  ASSERT_TRUE(put(1));
  EXPECT_EQ(colourScheme(), ColourScheme::light);
  for (const auto& [value, scheme] : {std::pair(0, ColourScheme::dark), std::pair(1, ColourScheme::light)}) {
    std::promise<ColourScheme> told;
    bool isFirst = true;
    const auto watch = ColourSchemeWatch::start([&] {
      if (std::exchange(isFirst, false)) told.set_value(colourScheme());
    });
    ASSERT_TRUE(watch);
    ASSERT_TRUE(put(static_cast<DWORD>(value)));
    auto heard = told.get_future();
    ASSERT_EQ(heard.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    EXPECT_EQ(heard.get(), scheme);
  }
  wasThere ? put(before) : RegDeleteKeyValueW(HKEY_CURRENT_USER, key, name) == ERROR_SUCCESS;
}

}  // namespace
}  // namespace tervo::platform
