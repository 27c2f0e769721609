#include "common/framework/security.h"
#include "tests/fuzz/support/framework_home.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/require.h"

#include <filesystem>

using namespace Fuzz;

namespace {

// "secret", as this node stores it.
constexpr const char* STORED = "AES256GCM.1.2QdQWPTVWLY02lb4gatsINZzNcKPc/SS3LDq9+Q6RKFPhg==";

/// A node whose key is known.
class Node {
public:
    Node()
    {
        m_home.Folder().Write("product.key", std::string(64, '5') + "\n");
        std::filesystem::permissions(KeyPath(),
                                     std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        m_home.Folder().Write("framework.ini", "[Log]\nFile =\n[Security]\nKeyFile = " + KeyPath() + "\n");
    }

private:
    std::string KeyPath() const { return m_home.Folder().File("product.key"); }

    const FrameworkHome m_home;
};

} // namespace

// An encrypted password.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Node NODE;
    const std::string cipher = Input(data, size).TakeRest();
    std::string plain = "from before";
    const bool isDecrypted = SecuritySS::ZelkDecryptInfo(cipher, plain);
    Require(isDecrypted == (cipher == STORED), "only what was stored is decrypted");
    Require(plain == (isDecrypted ? "secret" : ""), "nothing is left of what cannot be");
    return 0;
}
