#include "framework/security/key_file.h"

#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"
#include "tests/support/files.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

using namespace Fuzz;

namespace {

constexpr const char* FILE_NAME = "product.key";

const TemporaryFolder& Folder()
{
    static const TemporaryFolder FOLDER;
    return FOLDER;
}

// The key's digits in small letters; empty when the content is no key.
std::string Digits(std::string content)
{
    for (int ends = 0; ends < 2 && !content.empty() && (content.back() == '\n' || content.back() == '\r'); ++ends) {
        content.pop_back();
    }
    const bool isKey = content.size() == 64 && std::all_of(content.begin(), content.end(), [](unsigned char byte) {
                           return byte < 128 && std::isxdigit(byte) != 0;
                       });
    std::transform(content.begin(), content.end(), content.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    return isKey ? content : "";
}

std::string HexOf(const Framework::Key& key)
{
    std::string text;
    for (std::size_t index = 0; index < Framework::Key::SIZE; ++index) {
        const unsigned int byte = key.Bytes()[index];
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text;
}

} // namespace

// The content of a key file.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string content = Input(data, size).TakeRest();
    Folder().Write(FILE_NAME, content);
    std::filesystem::permissions(Folder().File(FILE_NAME),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    Framework::Key key;
    std::string problem;
    const Framework::KeyResult result = Framework::ReadKey(Folder().File(FILE_NAME), key, problem);
    const std::string digits = Digits(content);
    Require((result == Framework::KeyResult::Ok) == !digits.empty(),
            "64 digits and a line end are a key, nothing else");
    Require(problem.empty() == !digits.empty(), "what is wrong is told");
    Require(digits.empty() || HexOf(key) == digits, "the key is what the digits say");
    return 0;
}
