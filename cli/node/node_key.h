#ifndef PRODUCT_STORAGE_CLI_NODE_NODE_KEY_H
#define PRODUCT_STORAGE_CLI_NODE_NODE_KEY_H

#include <string>

/// The key that a command encrypts with. A node that has none gets one when that is wanted, and never silently: with
/// another key than the lost one nothing can be read that was encrypted before. Where another provider than the open
/// one is linked, keys are its own business.
class NodeKey {
public:
    /// Throws Failure when there is no key and none is wanted, by `isNewWanted` or by a person at the terminal, and
    /// when a new one is wanted where one is.
    explicit NodeKey(bool isNewWanted);

    /// What an environment's encryptedPasswords takes; tells of the key that was made for it. Throws Failure.
    std::string Encrypt(const std::string& password) const;

    /// What stands in the key's way; `problem` is empty when nothing does, or when there is no saying.
    struct Finding {
        bool isMissing = false; ///< which a new key mends
        std::string problem;
    };
    static Finding LookAt();

    /// Whether `text` has the form of what Encrypt gives, or there is no saying.
    static bool IsCipher(const std::string& text);

    /// Why an encrypted password cannot be decrypted with it; empty when it can.
    static std::string ProblemOfCipher(const std::string& cipher);

private:
    std::string m_newPath; ///< of the key that is to be made; empty without
};

#endif
