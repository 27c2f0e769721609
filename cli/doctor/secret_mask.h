#ifndef PRODUCT_STORAGE_CLI_DOCTOR_SECRET_MASK_H
#define PRODUCT_STORAGE_CLI_DOCTOR_SECRET_MASK_H

#include <string>
#include <vector>

namespace Doctor {

/// Takes secrets out of texts: those that are known, wherever they stand, and whatever stands as the value of a member
/// or setting by whose name it is one: a password, token, cookie or key.
class SecretMask {
public:
    SecretMask() = default;
    SecretMask(const SecretMask&) = delete;
    SecretMask& operator=(const SecretMask&) = delete;

    /// Wipes what it knows.
    ~SecretMask();

    /// `secret` is masked from now on, as it is and as JSON and addresses have it; one of less than four characters
    /// only where it is no piece of a longer word, so that the text can still be read.
    void Know(const std::string& secret);

    std::string Mask(std::string text) const;

private:
    std::vector<std::string> m_known; // the longest first: one may stand in another
};

} // namespace Doctor

#endif
