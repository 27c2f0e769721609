#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_VALUES_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_CONFIG_VALUES_H

#include "framework/config/setting_value.h"

#include <array>
#include <cstdint>

namespace Framework {

/// The value of every setting.
struct ConfigValues {
    std::array<SettingValue, SETTING_COUNT> values;
    std::uint64_t generation = 0; ///< greater than that of all values read before in this process

    const SettingValue& Of(SettingId setting) const { return values[static_cast<std::size_t>(setting)]; }
};

} // namespace Framework

#endif
