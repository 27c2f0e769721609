#ifndef PRODUCT_STORAGE_COMMON_SECRET_SESSION_H
#define PRODUCT_STORAGE_COMMON_SECRET_SESSION_H

#include "base/secret.h"
#include "common/records.h"

/// A session record that wipes its token and cookie when it is released.
struct SecretSession : Zav::SessionInfo {
    SecretSession() = default;
    explicit SecretSession(const Zav::SessionInfo& session)
        : Zav::SessionInfo(session)
    {
    }
    SecretSession(const SecretSession&) = delete;
    SecretSession& operator=(const SecretSession&) = delete;
    ~SecretSession()
    {
        Secret::Wipe(token);
        Secret::Wipe(cookie);
    }
};

#endif
