#include "base/spawn.h"

#include <csignal>

namespace Base {

SpawnAttributes::SpawnAttributes(ProcessGroup group)
{
    posix_spawnattr_init(&m_attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&m_attributes, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&m_attributes, &signals);
    posix_spawnattr_setpgroup(&m_attributes, 0); // counts with its flag only
    const int flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    posix_spawnattr_setflags(&m_attributes,
                             static_cast<short>(group == ProcessGroup::Own ? flags | POSIX_SPAWN_SETPGROUP : flags));
}

} // namespace Base
