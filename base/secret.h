#ifndef PRODUCT_STORAGE_BASE_SECRET_H
#define PRODUCT_STORAGE_BASE_SECRET_H

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <utility>

/// Passwords and session tokens leave no trace in memory that their holder gives back.
namespace Secret {

/// Overwrites `size` bytes with zero bytes three times, by stores that no optimiser may remove.
inline void WipeBytes(void* bytes, std::size_t size) noexcept
{
    constexpr int PASSES = 3;
    for (int pass = 0; pass < PASSES; ++pass) {
        explicit_bzero(bytes, size);
    }
}

/// Wipes all that `text` holds, its spare capacity included, and empties it.
inline void Wipe(std::string& text) noexcept
{
    text.resize(text.capacity()); // within the capacity: never moves, never throws
    WipeBytes(text.data(), text.size());
    text.clear();
}

/// The same by one pass, for what may be megabytes and is only perhaps a secret.
inline void WipeOnce(std::string& text) noexcept
{
    text.resize(text.capacity());
    explicit_bzero(text.data(), text.size());
    text.clear();
}

inline void Wipe(std::set<std::string>& texts) noexcept
{
    while (!texts.empty()) {
        Wipe(texts.extract(texts.begin()).value());
    }
}

/// Wipes the second text of each pair, such as a header's value; the first is a name.
inline void Wipe(std::set<std::pair<std::string, std::string>>& pairs) noexcept
{
    while (!pairs.empty()) {
        Wipe(pairs.extract(pairs.begin()).value().second);
    }
}

/// Replaces `holder` by `value` without leaving the old text behind. `value` may be the whole of `holder`, which then
/// stays as it is, but no part of it.
inline void Replace(std::string& holder, std::string_view value)
{
    if (value.data() == holder.data()) {
        return;
    }
    Wipe(holder);
    holder = value;
}

/// Appends without leaving the old text behind when the buffer has to grow.
inline void Append(std::string& text, const char* bytes, std::size_t size)
{
    if (text.capacity() - text.size() < size) {
        std::string larger;
        larger.reserve(std::max(text.capacity() * 2, text.size() + size));
        larger.append(text);
        text.swap(larger);
        WipeOnce(larger);
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

} // namespace Secret

#endif
