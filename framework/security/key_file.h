#ifndef PRODUCT_STORAGE_FRAMEWORK_SECURITY_KEY_FILE_H
#define PRODUCT_STORAGE_FRAMEWORK_SECURITY_KEY_FILE_H

#include <array>
#include <cstddef>
#include <string>

namespace Framework {

/// A 256-bit key; wiped when it is released.
class Key {
public:
    static constexpr std::size_t SIZE = 32;

    Key() = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key();

    unsigned char* Bytes() { return m_bytes.data(); }
    const unsigned char* Bytes() const { return m_bytes.data(); }

private:
    std::array<unsigned char, SIZE> m_bytes = {};
};

enum class KeyResult { Ok, Missing, Refused };

/// Reads the key at `path`: 64 hexadecimal digits in a regular file of mode 0600 that belongs to this process's user.
/// Missing when nothing is there. Anything else is refused, with what is wrong in `problem`.
KeyResult ReadKey(const std::string& path, Key& key, std::string& problem);

/// Makes a new key at `path`, and the directories above it. Of several processes that try at once, one makes the key;
/// for the others that is success, too. False, with the reason in `problem`, when there is no key afterwards.
bool CreateKey(const std::string& path, std::string& problem);

} // namespace Framework

#endif
