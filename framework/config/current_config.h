#ifndef PRODUCT_STORAGE_FRAMEWORK_CONFIG_CURRENT_CONFIG_H
#define PRODUCT_STORAGE_FRAMEWORK_CONFIG_CURRENT_CONFIG_H

#include "framework/config/config_cache.h"
#include "framework/config/config_values.h"

#include <cstdint>
#include <memory>
#include <string>

/// The configuration as the rest of the framework reads it. Every read but Recent is fresh, as ConfigReader says. Any
/// thread may call, also while the process ends.
namespace Framework::Config {

/// All values of the file as it is now; never null.
std::shared_ptr<const ConfigValues> Current();

/// The same without a look at the file when somebody has taken one in the last hundredth of a second: for what is done
/// beside reads of the same request.
std::shared_ptr<const ConfigValues> Recent();

std::int64_t ReadInteger(SettingId setting);
bool ReadFlag(SettingId setting);
std::string ReadPath(SettingId setting);

/// Changes whenever a read saw new values. Costs a load.
inline std::uint64_t Generation() noexcept
{
    return ConfigCache::Generation();
}

} // namespace Framework::Config

#endif
