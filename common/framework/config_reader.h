#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_CONFIG_READER_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_CONFIG_READER_H

#include "common/framework/export.h"

#include <set>
#include <string>
#include <vector>

/// The backup node's configuration. Every read is fresh: a changed file is seen by the next call.
///
/// A missing file or key gives the key's default. A malformed file or value is logged once for each change of the file,
/// and the default (for a malformed file: what was last read well) holds. Nothing is thrown. Any thread may call.
class PRODUCT_FRAMEWORK_API ConfigReader {
public:
    /// One effective setting as `check` reports it.
    struct Setting {
        std::string section;
        std::string key;
        std::string value;
        bool isDefault = true; ///< the file does not name it, or not well
    };

    /// The integer `key` of `section`. The library always passes true for the third argument: a key that the file does
    /// not hold gives its default without a log line. A name that is no integer setting is logged as an error and
    /// gives 0.
    static int getInt(const std::string& section, const std::string& key, bool quietDefault);

    /// The array error codes after which no other management address is tried ([BackupNode] NotRetryErrorCodes, a comma
    /// list).
    static std::set<int> getNerovaxDiskArrayNotRetryErrorCode();

    /// The path of the file that is read, whether it exists or not.
    static std::string getFile();

    /// Reads the file strictly. Returns every problem as one text that names the file, the place and what is wrong; an
    /// empty result means that the file can be used as it stands. `settings` receives every known setting, with paths
    /// made absolute.
    static std::vector<std::string> check(std::vector<Setting>& settings);
};

#endif
