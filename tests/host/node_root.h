#ifndef PRODUCT_STORAGE_TESTS_HOST_NODE_ROOT_H
#define PRODUCT_STORAGE_TESTS_HOST_NODE_ROOT_H

/// Where the tests lay the node's files.
namespace NodeRoot {

/// Gives this process a view of the file system whose /etc/iscsi and /sys/class are its own and empty; nothing outside
/// of it changes. To be called before there is another thread. Afterwards IsPrivate tells whether the system permitted
/// that.
void Enter();

bool IsPrivate();

} // namespace NodeRoot

#endif
