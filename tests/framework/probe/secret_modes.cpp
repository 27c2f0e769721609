#include "tests/framework/probe/modes.h"

#include "tests/framework/support/memory_search.h"

#include "common/framework/http_client.h"
#include "common/framework/san_manager.h"
#include "common/framework/security.h"

#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <array>
#include <iostream>

namespace {

void WipeText(std::string& text)
{
    ::explicit_bzero(text.data(), text.capacity());
    text.clear();
}

/// The secrets of one request and its answer, from the command line in hexadecimal and turned.
struct ExchangeSecrets {
    HiddenText body;
    HiddenText token;
    HiddenText answer;
    HiddenText cookie;

    void Tell(const char* when) const
    {
        std::cout << when << ": body " << body.CountInMemory() << ", token " << token.CountInMemory() << ", answer "
                  << answer.CountInMemory() << ", cookie " << cookie.CountInMemory() << "\n";
    }
};

HiddenText FromHex(const std::string& hex)
{
    std::string turned;
    for (std::size_t index = 0; index + 1 < hex.size(); index += 2) {
        turned += static_cast<char>(std::stoi(hex.substr(index, 2), nullptr, 16));
    }
    return HiddenText(turned);
}

bool Holds(const std::string& text, const HiddenText& hidden)
{
    std::string secret = hidden.Reveal();
    const bool isFound = text.find(secret) != std::string::npos;
    WipeText(secret);
    return isFound;
}

bool HasCookie(const QEN::IHttpResponse& response, const HiddenText& cookie)
{
    return !response.GetCookies().empty() && Holds(*response.GetCookies().begin(), cookie);
}

/// Sends the secrets, checks that the others come back, and gives back all that this function itself holds of them.
bool Exchange(QEN::IHttpClient& client, const std::string& url, const ExchangeSecrets& secrets, bool isCookieExpected)
{
    TMSHttpRequest request;
    request.method = "POST";
    request.url = url;
    request.body = secrets.body.Reveal();
    request.headers.emplace("iBaseToken", secrets.token.Reveal());
    const boost::shared_ptr<QEN::IHttpResponse> response = client.SendRequest(request, 20);
    const bool isRight = response != nullptr && response->IsSuccess() && Holds(response->GetBody(), secrets.answer) &&
                         HasCookie(*response, secrets.cookie) == isCookieExpected;
    if (!isRight && response != nullptr) {
        std::cerr << response->GetErrorText() << response->GetHttpStatusText() << "\n";
    }
    WipeText(request.body);
    while (!request.headers.empty()) {
        WipeText(request.headers.extract(request.headers.begin()).value().second);
    }
    return isRight;
}

bool IsSeenBySearch(const HiddenText& hidden)
{
    std::string secret = hidden.Reveal();
    const bool isSeen = hidden.CountInMemory() > 0;
    WipeText(secret);
    return isSeen && hidden.CountInMemory() == 0;
}

int TellExchanges(const Probe::Words& words, bool isCookieExpected)
{
    const ExchangeSecrets secrets = {FromHex(words.at(1)), FromHex(words.at(2)), FromHex(words.at(3)),
                                     FromHex(words.at(4))};
    if (!IsSeenBySearch(secrets.body)) {
        std::cerr << "The search finds nothing where there is something, or the other way round.\n";
        return 1;
    }
    boost::shared_ptr<QEN::IHttpClient> client = QEN::IHttpClient::CreateClient();
    if (!Exchange(*client, words.at(0), secrets, isCookieExpected) ||
        !Exchange(*client, words.at(0), secrets, isCookieExpected)) {
        return 1;
    }
    secrets.Tell("between requests");
    client.reset();
    secrets.Tell("afterwards");
    return 0;
}

} // namespace

int Probe::Secrets(const Words& words)
{
    return TellExchanges(words, true);
}

int Probe::SecretsWithoutCookie(const Words& words)
{
    return TellExchanges(words, false);
}

int Probe::SanSecrets(const Words& words)
{
    const HiddenText hiddenToken = FromHex(words.at(2));
    const HiddenText hiddenCookie = FromHex(words.at(3));
    CDeviceManager* const manager = CDeviceManager::getInstance(0, 500000);
    auto port = static_cast<unsigned int>(std::stoul(words.at(1)));
    std::string token = hiddenToken.Reveal();
    std::string cookie = hiddenCookie.Reveal();
    const bool isConnected = manager->Connect(words.at(0), port, "device", token, cookie);
    WipeText(token);
    WipeText(cookie);
    const bool isHeld = hiddenToken.CountInMemory() > 0 && hiddenCookie.CountInMemory() > 0;
    CDeviceManager::releaseInstance(manager);
    std::cout << "token " << hiddenToken.CountInMemory() << ", cookie " << hiddenCookie.CountInMemory() << "\n";
    return isConnected && isHeld ? 0 : 1;
}

int Probe::SealedSecrets(const Words& words)
{
    const HiddenText hidden = HiddenText::Random("credential-");
    std::string plain = hidden.Reveal();
    std::string cipher;
    std::string errorText;
    const bool isEncrypted = SecuritySS::ZelkEncryptInfo(plain, cipher, errorText);
    WipeText(plain);
    const bool isDecrypted = SecuritySS::ZelkDecryptInfo(cipher, plain);
    const bool isSame = Holds(plain, hidden);
    WipeText(plain);

    // A failed decryption leaves nothing either.
    cipher[cipher.size() / 2] = cipher[cipher.size() / 2] == 'A' ? 'B' : 'A';
    const bool isTamperedRefused = !SecuritySS::ZelkDecryptInfo(cipher, plain) && plain.empty();

    // The key, in the form of the file and as bytes, turned as soon as it is read.
    std::array<char, 64> digits = {};
    const int file = ::open(words.at(0).c_str(), O_RDONLY);
    const bool isKeyRead = ::read(file, digits.data(), digits.size()) == static_cast<ssize_t>(digits.size());
    ::close(file);
    std::string turnedDigits;
    std::string turnedBytes;
    for (std::size_t index = 0; index < digits.size(); ++index) {
        const auto nibble = [](char digit) { return digit <= '9' ? digit - '0' : digit - 'a' + 10; };
        turnedDigits += static_cast<char>(~digits[index]);
        if (index % 2 == 1) {
            turnedBytes += static_cast<char>(~(nibble(digits[index - 1]) * 16 + nibble(digits[index])));
        }
    }
    ::explicit_bzero(digits.data(), digits.size());
    std::cout << "plain " << hidden.CountInMemory() << ", key digits " << HiddenText(turnedDigits).CountInMemory()
              << ", key bytes " << HiddenText(turnedBytes).CountInMemory() << "\n";
    return isEncrypted && isDecrypted && isSame && isTamperedRefused && isKeyRead ? 0 : 1;
}
