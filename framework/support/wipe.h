#ifndef PRODUCT_STORAGE_FRAMEWORK_SUPPORT_WIPE_H
#define PRODUCT_STORAGE_FRAMEWORK_SUPPORT_WIPE_H

#include <openssl/crypto.h>

#include <algorithm>
#include <set>
#include <string>

namespace Framework {

/// Overwrites all that `text` holds, its spare capacity included, and empties it.
inline void Wipe(std::string& text) noexcept
{
    text.resize(text.capacity()); // within the capacity: never moves, never throws
    OPENSSL_cleanse(text.data(), text.size());
    text.clear();
}

inline void Wipe(std::set<std::string>& texts) noexcept
{
    while (!texts.empty()) {
        Wipe(texts.extract(texts.begin()).value());
    }
}

/// Appends without leaving the old text behind when the buffer has to grow.
inline void AppendSecret(std::string& text, const char* bytes, std::size_t size)
{
    if (text.capacity() - text.size() < size) {
        std::string larger;
        larger.reserve(std::max(text.capacity() * 2, text.size() + size));
        larger.append(text);
        text.swap(larger);
        Wipe(larger);
    }
    text.append(bytes, size);
}

/// Wipes a text when the scope ends, however it ends.
class ScopedWipe {
public:
    explicit ScopedWipe(std::string& text) noexcept
        : m_text(text)
    {
    }
    ScopedWipe(const ScopedWipe&) = delete;
    ScopedWipe& operator=(const ScopedWipe&) = delete;
    ~ScopedWipe() { Wipe(m_text); }

private:
    std::string& m_text;
};

} // namespace Framework

#endif
