#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_CERT_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_CERT_H

#include "common/framework/product_messages.pb.h"

#include <string>

/// The product's certificate service. Any thread may call.
class Cert {
public:
    /// Fetches and verifies the certificate of the environment's first management address. True when it is trusted:
    /// `result` then equals `env`, with the certificate as its only certificate text, and `info` describes it. False
    /// otherwise; with `raiseAlert` the refusal is kept as an alert for that address under `role`.
    /// `component` names the caller in log lines. May throw std::exception.
    static bool VerifyCertForEnv(const EnvironmentPath& env, EnvironmentPath& result, const std::string& component,
                                 VerifiedCertInfo& info, bool raiseAlert, const std::string& role,
                                 const unsigned long& requestId);

    /// Clears the alert that `role` keeps for `address`; none is no error.
    static void ResumeAlertForEnv(std::string address, const std::string& role, const unsigned long& requestId);
};

#endif
