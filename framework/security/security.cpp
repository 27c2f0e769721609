#include "common/framework/security.h"

#include "base/secret.h"
#include "framework/config/current_config.h"
#include "framework/security/key_file.h"
#include "framework/security/sealed_text.h"
#include "framework/support/log_line.h"

#include <exception>

using namespace Framework;

namespace {

// Why `cipher` cannot be decrypted; empty when `plain` holds what it says.
std::string Decrypt(const std::string& cipher, std::string& plain)
{
    Key key;
    std::string problem;
    if (ReadKey(Config::ReadPath(SettingId::SecurityKeyFile), key, problem) != KeyResult::Ok) {
        return problem;
    }
    switch (Open(key, cipher, plain)) {
    case OpenResult::Ok:
        return {};
    case OpenResult::NotSealed:
        return "The text is no credential that this product stored";
    case OpenResult::Tampered:
        return "The text was changed, or was made with another key than this node's";
    }
    return "The text cannot be decrypted";
}

std::string Encrypt(const std::string& plain, std::string& cipher)
{
    const std::string path = Config::ReadPath(SettingId::SecurityKeyFile);
    Key key;
    std::string problem;
    KeyResult result = ReadKey(path, key, problem);
    if (result == KeyResult::Missing) {
        if (!CreateKey(path, problem)) {
            return problem;
        }
        FRAMEWORK_LOG(Notice) << "Made a new key, " << path;
        result = ReadKey(path, key, problem);
    }
    if (result != KeyResult::Ok) {
        return problem;
    }
    if (plain.size() > MAX_PLAIN_SIZE) {
        return "The text cannot be encrypted: it is too long";
    }
    return Seal(key, plain, cipher) ? std::string()
                                    : "The text cannot be encrypted: OpenSSL or the random numbers fail";
}

} // namespace

bool SecuritySS::ZelkDecryptInfo(const std::string& cipher, std::string& plain)
{
    Secret::Wipe(plain);
    std::string problem;
    try {
        problem = Decrypt(cipher, plain);
    } catch (const std::exception& error) {
        Secret::Wipe(plain);
        problem = error.what();
    }
    if (!problem.empty()) {
        FRAMEWORK_LOG(Error) << "A stored credential cannot be decrypted. " << problem << ".";
    }
    return problem.empty();
}

bool SecuritySS::ZelkEncryptInfo(const std::string& plain, std::string& cipher, std::string& errorText)
{
    cipher.clear();
    try {
        errorText = Encrypt(plain, cipher);
    } catch (const std::exception& error) {
        cipher.clear();
        errorText = error.what();
    }
    return errorText.empty();
}
