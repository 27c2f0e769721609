#include "framework/security/sealed_text.h"

#include "base/openssl_handles.h"
#include "base/secret.h"
#include "common/framework/random_bytes.h"

#include <climits>
#include <string_view>

namespace Framework {

namespace {

constexpr std::string_view VERSION = "AES256GCM.1.";
constexpr std::size_t NONCE_SIZE = 12;
constexpr std::size_t TAG_SIZE = 16;

unsigned char* Bytes(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

const unsigned char* Bytes(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

int Size(std::string_view text)
{
    return static_cast<int>(text.size());
}

std::string ToBase64(const std::string& bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // OpenSSL ends it with a NUL
    text.resize(static_cast<std::size_t>(EVP_EncodeBlock(Bytes(text), Bytes(bytes), Size(bytes))));
    return text;
}

// Only the one text that ToBase64 makes of `bytes` is accepted; base64 can say the same in several ways.
bool FromBase64(std::string_view text, std::string& bytes)
{
    if (text.empty() || text.size() % 4 != 0) {
        return false;
    }
    bytes.resize(text.size() / 4 * 3);
    if (EVP_DecodeBlock(Bytes(bytes), Bytes(text), Size(text)) < 0) {
        return false;
    }
    for (std::size_t index = text.size(); index-- > text.size() - 2 && text[index] == '=';) {
        bytes.pop_back();
    }
    return ToBase64(bytes) == text;
}

} // namespace

bool Seal(const Key& key, const std::string& plain, std::string& sealed)
{
    if (plain.size() > MAX_PLAIN_SIZE) {
        return false;
    }
    std::string bytes(NONCE_SIZE + plain.size() + TAG_SIZE, '\0');
    unsigned char* const nonce = Bytes(bytes);
    unsigned char* const body = nonce + NONCE_SIZE;
    unsigned char* const tag = body + plain.size();
    const Base::CipherHandle cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    const bool isSealed =
        cipher != nullptr && getRandBytes(nonce, NONCE_SIZE) > 0 &&
        EVP_EncryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.Bytes(), nonce) == 1 &&
        EVP_EncryptUpdate(cipher.get(), nullptr, &count, Bytes(VERSION), Size(VERSION)) == 1 &&
        EVP_EncryptUpdate(cipher.get(), body, &count, Bytes(std::string_view(plain)), Size(plain)) == 1 &&
        EVP_EncryptFinal_ex(cipher.get(), tag, &count) == 1 &&
        EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_GET_TAG, TAG_SIZE, tag) == 1;
    if (isSealed) {
        sealed = std::string(VERSION) + ToBase64(bytes);
    }
    return isSealed;
}

OpenResult Open(const Key& key, const std::string& sealed, std::string& plain)
{
    std::string bytes;
    const std::string_view text = sealed;
    if (text.size() > 2 * MAX_PLAIN_SIZE || text.substr(0, VERSION.size()) != VERSION ||
        !FromBase64(text.substr(VERSION.size()), bytes) || bytes.size() < NONCE_SIZE + TAG_SIZE) {
        return OpenResult::NotSealed;
    }
    plain.resize(bytes.size() - NONCE_SIZE - TAG_SIZE);
    unsigned char* const nonce = Bytes(bytes);
    const unsigned char* const body = nonce + NONCE_SIZE;
    unsigned char* const tag = nonce + NONCE_SIZE + plain.size();
    const Base::CipherHandle cipher(EVP_CIPHER_CTX_new());
    int count = 0;
    const bool isOpened = cipher != nullptr &&
                          EVP_DecryptInit_ex(cipher.get(), EVP_aes_256_gcm(), nullptr, key.Bytes(), nonce) == 1 &&
                          EVP_DecryptUpdate(cipher.get(), nullptr, &count, Bytes(VERSION), Size(VERSION)) == 1 &&
                          EVP_DecryptUpdate(cipher.get(), Bytes(plain), &count, body, Size(plain)) == 1 &&
                          EVP_CIPHER_CTX_ctrl(cipher.get(), EVP_CTRL_GCM_SET_TAG, TAG_SIZE, tag) == 1 &&
                          EVP_DecryptFinal_ex(cipher.get(), Bytes(plain) + plain.size(), &count) == 1;
    if (!isOpened) {
        Secret::Wipe(plain);
        return OpenResult::Tampered;
    }
    return OpenResult::Ok;
}

} // namespace Framework
