#ifndef PRODUCT_STORAGE_COMMON_FRAMEWORK_SECURITY_H
#define PRODUCT_STORAGE_COMMON_FRAMEWORK_SECURITY_H

#include "common/framework/export.h"

#include <string>

/// The product's stored credentials. Any thread may call; nothing is thrown.
class PRODUCT_FRAMEWORK_API SecuritySS {
public:
    /// Decrypts a stored credential. False when the text was not made with this node's key or was changed since, or
    /// when the key cannot be used; the reason is logged and `plain` is empty then. The caller wipes `plain`.
    static bool ZelkDecryptInfo(const std::string& cipher, std::string& plain);

    /// Encrypts a credential so that ZelkDecryptInfo reads it back. False, with the reason in `errorText` and `cipher`
    /// empty, when the key cannot be used. A node that has no key yet gets one.
    static bool ZelkEncryptInfo(const std::string& plain, std::string& cipher, std::string& errorText);
};

#endif
