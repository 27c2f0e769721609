#ifndef PRODUCT_STORAGE_FRAMEWORK_SECURITY_SEALED_TEXT_H
#define PRODUCT_STORAGE_FRAMEWORK_SECURITY_SEALED_TEXT_H

#include "framework/security/key_file.h"

#include <cstddef>
#include <string>

namespace Framework {

/// Encrypted text as it is stored: "AES256GCM.1." and, in base64, a random 12-byte nonce, the encrypted bytes and the
/// 16-byte tag that also covers the words in front. A change of any character is found.

/// Bytes of the longest text that is sealed: far above any credential, and such that all sizes fit into an int.
inline constexpr std::size_t MAX_PLAIN_SIZE = 1024 * 1024;

/// False when the text is longer, or when the encryption fails, which it does not in a sound installation.
bool Seal(const Key& key, const std::string& plain, std::string& sealed);

enum class OpenResult { Ok, NotSealed, Tampered };

/// `plain` must be empty; it is so again, and wiped, after a failure. NotSealed: the text has another form.
/// Tampered: it was changed, or sealed with another key.
OpenResult Open(const Key& key, const std::string& sealed, std::string& plain);

} // namespace Framework

#endif
