#include "framework/support/server_name.h"

#include <openssl/x509v3.h>

namespace Framework {

bool RequireServerName(X509_VERIFY_PARAM* wanted, const std::string& host)
{
    X509_VERIFY_PARAM_set_hostflags(wanted, X509_CHECK_FLAG_NEVER_CHECK_SUBJECT | X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
    return X509_VERIFY_PARAM_set1_ip_asc(wanted, host.c_str()) == 1 ||
           X509_VERIFY_PARAM_set1_host(wanted, host.c_str(), host.size()) == 1;
}

} // namespace Framework
