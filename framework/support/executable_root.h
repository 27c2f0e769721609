#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_EXECUTABLE_ROOT_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_EXECUTABLE_ROOT_H

#include <string>

namespace Framework {

/// The directory above the one that holds the running executable, without a final slash (so that of /bin/agent is an
/// empty text). Never fails: where the executable is not to be found, it is the file system's root.
const std::string& ExecutableRoot();

} // namespace Framework

#endif
