#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_TLS_TRUST_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_TLS_TRUST_H

#include "framework/config/config_file.h"
#include "framework/config/config_values.h"

#include <string>

namespace Framework {

/// What a server's certificate is held against.
struct TlsTrust {
    bool isVerified = true;
    std::string caFile; ///< empty: the system's authorities
    FileState caState;  ///< of caFile, as long as anything is verified by it

    bool operator==(const TlsTrust& other) const
    {
        return isVerified == other.isVerified && caFile == other.caFile && caState == other.caState;
    }
};

/// As the configuration has it, and its file is now.
inline TlsTrust LookAtTrust(const ConfigValues& config)
{
    TlsTrust trust;
    trust.isVerified = config.Of(SettingId::HttpVerifyPeer).number != 0;
    trust.caFile = config.Of(SettingId::HttpCaFile).text;
    if (trust.isVerified && !trust.caFile.empty()) {
        trust.caState = LookAtFile(trust.caFile.c_str());
    }
    return trust;
}

} // namespace Framework

#endif
