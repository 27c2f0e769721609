#ifndef PRODUCT_STORAGE_CLI_NODE_KERNEL_FILE_H
#define PRODUCT_STORAGE_CLI_NODE_KERNEL_FILE_H

#include <string>

/// What a small file of /proc or /sys says, without blanks around it. Empty when it cannot be read: a process ends and
/// a disk goes at any moment, while somebody looks at it too.
std::string ReadKernelFile(const std::string& path);

#endif
