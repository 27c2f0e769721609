#ifndef PRODUCT_STORAGE_TESTS_UNIT_FREED_MEMORY_H
#define PRODUCT_STORAGE_TESTS_UNIT_FREED_MEMORY_H

#include <cstddef>
#include <string>
#include <vector>

/// Looks for secrets in every block of memory that a piece of a test gives back to the allocator.
///
/// Every library of the program is seen, by whatever way it frees; in a program with a memory or thread sanitizer,
/// which has its own allocator, only what operator delete frees. Stacks and other threads are not seen.
class FreedMemory {
public:
    explicit FreedMemory(const std::vector<std::string>& secrets);

    /// Watches while `story` runs.
    template <typename Story>
    void During(const Story& story)
    {
        Watch(this);
        story();
        Watch(nullptr);
    }

    /// How many of the blocks freed meanwhile held `secret`, which must be one of the constructor's.
    int Holding(const std::string& secret) const;

    /// Follows the buffer of `text`, which must be one of its own, until it is freed; in place of an earlier one.
    void Follow(const std::string& text);

    /// True when the followed buffer was freed and held nothing but zero bytes where the text had stood.
    bool WasFreedWiped() const { return m_wasFreedWiped; }

    // What the allocator calls.

    /// Clears a new block: what its earlier owner left there is not its new owner's.
    static void Clear(void* block);
    static void Inspect(void* block);

private:
    struct Secret {
        std::string text;
        int blocks = 0;
    };

    static void Watch(FreedMemory* memory);
    void Inspect(char* block, std::size_t size);

    std::vector<Secret> m_secrets;
    const char* m_followed = nullptr;
    std::size_t m_followedSize = 0;
    bool m_wasFreedWiped = false;
};

#endif
