#ifndef PRODUCT_STORAGE_BASE_SPAWN_H
#define PRODUCT_STORAGE_BASE_SPAWN_H

#include <spawn.h>

namespace Base {

/// The list of what is done with a child's descriptors between fork and exec. Functions that add to it give an error
/// number for want of memory, and for a descriptor that can be none; what they were to add is missing then.
class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }

    posix_spawn_file_actions_t* Get() { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

enum class ProcessGroup { Parents, Own };

/// How a child begins: with no signal blocked and each at its default action, whatever the parent does with them.
class SpawnAttributes {
public:
    explicit SpawnAttributes(ProcessGroup group);
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }

    const posix_spawnattr_t* Get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

} // namespace Base

#endif
