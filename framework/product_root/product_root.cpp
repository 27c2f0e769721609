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
    FRAMEWORK_LOG_FOR(severity_level::Periodic, module, requestId) << "The product's root is " << root;
    return root;
}
