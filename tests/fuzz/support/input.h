#ifndef PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_INPUT_H
#define PRODUCT_STORAGE_TESTS_FUZZ_SUPPORT_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// What a fuzzing engine calls with each input; each target defines it. The result is always 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzz {

/// The bytes of one input, taken from the front. Where they have ended, zeros and empty texts follow.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size)
        : m_rest(reinterpret_cast<const char*>(data), size)
    {
    }

    bool IsAtEnd() const { return m_rest.empty(); }

    unsigned int TakeByte()
    {
        const std::string byte = TakeText(1);
        return byte.empty() ? 0U : static_cast<unsigned char>(byte.front());
    }

    std::string TakeText(std::size_t size)
    {
        const std::size_t taken = std::min(size, m_rest.size());
        std::string text(m_rest.substr(0, taken));
        m_rest.remove_prefix(taken);
        return text;
    }

    /// Up to the next line end, which is taken too.
    std::string TakeLine()
    {
        const std::size_t end = m_rest.find('\n');
        std::string line = TakeText(std::min(end, m_rest.size()));
        TakeText(1);
        return line;
    }

    std::string TakeRest() { return TakeText(m_rest.size()); }

private:
    std::string_view m_rest;
};

} // namespace Fuzz

#endif
