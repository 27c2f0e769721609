#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_CERT_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_CERT_H

#include "common/framework/export.h"
#include "common/framework/product_messages.pb.h"

#include <string>

/// The product's certificate service. Any thread may call.
class PRODUCT_FRAMEWORK_API Cert {
public:
    /// Fetches and verifies the certificate of the environment's first management address. True when it is trusted:
    /// `result` then equals `env`, with the certificate as its only certificate text, and `info` describes it. False
    /// otherwise, also for an environment that is used over http: `result` is empty, and `info` describes what the
    /// server showed, if it showed anything. With `raiseAlert` the refusal of a server's certificate, or of a server
    /// that shows none, is kept as an alert for that address under `role`.
    /// `component` names the caller in log lines. May throw std::exception.
    static bool VerifyCertForEnv(const EnvironmentPath& env, EnvironmentPath& result, const std::string& component,
                                 VerifiedCertInfo& info, bool raiseAlert, const std::string& role,
                                 const unsigned long& requestId);

    /// Clears the alert that `role` keeps for `address`; none is no error.
    static void ResumeAlertForEnv(std::string address, const std::string& role, const unsigned long& requestId);
};

#endif
