#include "framework/public/running_commands.h"

#include "framework/shell/command_groups.h"
#include "framework/support/immortal.h"

std::vector<std::string> OpenFramework::RunningPrograms()
{
    return Framework::Immortal<Framework::CommandGroups>().Programs();
}

void OpenFramework::EndRunningCommands(std::chrono::milliseconds grace)
{
    Framework::Immortal<Framework::CommandGroups>().EndAll(grace);
}
