#include "framework/config/current_config.h"

#include "framework/support/immortal.h"

namespace Framework::Config {

std::shared_ptr<const ConfigValues> Current()
{
    return Immortal<ConfigCache>().Current();
}

std::shared_ptr<const ConfigValues> Recent()
{
    return Immortal<ConfigCache>().Recent();
}

std::int64_t ReadInteger(SettingId setting)
{
    return Current()->Of(setting).number;
}

bool ReadFlag(SettingId setting)
{
    return Current()->Of(setting).number != 0;
}

std::string ReadPath(SettingId setting)
{
    return Current()->Of(setting).text;
}

} // namespace Framework::Config
