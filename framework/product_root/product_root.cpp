#include "common/framework/product_root.h"

#include "framework/config/current_config.h"
#include "framework/support/executable_root.h"
#include "framework/support/log_line.h"

#include <exception>

std::string GetVendrixRootPath(const std::string& module, const unsigned long& requestId)
{
    std::string root = Framework::ExecutableRoot();
    try {
        root = Framework::Config::ReadPath(Framework::SettingId::ProductRoot);
    } catch (const std::exception&) {
        return root; // out of memory; the directory above the executable's is the best guess
    }
    LogProxy(static_cast<int>(severity_level::Periodic), module, requestId, GetFunctionName(__PRETTY_FUNCTION__),
             __LINE__)
        << 0 << "The product's root is " << root;
    return root;
}
