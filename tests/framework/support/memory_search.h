#ifndef PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_MEMORY_SEARCH_H
#define PRODUCT_STORAGE_TESTS_FRAMEWORK_SUPPORT_MEMORY_SEARCH_H

#include <string>
#include <utility>

/// A text that can be looked for in this process's memory without being in it: it is kept with every bit turned.
class HiddenText {
public:
    /// A new random text that begins with `label`.
    static HiddenText Random(const std::string& label);

    explicit HiddenText(std::string turned)
        : m_turned(std::move(turned))
    {
    }

    /// The text itself, in a buffer of exactly its size. The caller wipes it.
    std::string Reveal() const;

    const std::string& Turned() const { return m_turned; }

    /// How often the text stands in the memory that this process can write: heap, stacks, static objects.
    std::size_t CountInMemory() const;

private:
    std::string m_turned;
};

#endif
