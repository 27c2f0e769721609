#include "bench/plain_client.h"

#include "bench/stage.h"

#include <openssl/ssl.h>

#include <stdexcept>
#include <string_view>

namespace {

std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* body)
{
    static_cast<std::string*>(body)->append(bytes, size * count);
    return size * count;
}

CURLcode WipePlaintext(CURL* /*handle*/, void* context, void* /*data*/)
{
    SSL_CTX_set_options(static_cast<SSL_CTX*>(context), SSL_OP_CLEANSE_PLAINTEXT);
    return CURLE_OK;
}

// The value of a Set-Cookie header, up to its first attribute.
std::size_t TakeCookie(char* bytes, std::size_t size, std::size_t count, void* cookie)
{
    constexpr std::string_view NAME = "set-cookie: ";
    const std::string_view line(bytes, size * count);
    if (line.size() > NAME.size() && curl_strnequal(bytes, NAME.data(), NAME.size()) != 0) {
        *static_cast<std::string*>(cookie) = line.substr(NAME.size(), line.find(';') - NAME.size());
    }
    return size * count;
}

} // namespace

PlainClient::PlainClient(const std::string& url, const std::string& authority, Plaintext plaintext)
    : m_handle(curl_easy_init())
    , m_reader(Json::CharReaderBuilder().newCharReader())
{
    curl_easy_setopt(m_handle.get(), CURLOPT_CAINFO, authority.c_str());
    curl_easy_setopt(m_handle.get(), CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(m_handle.get(), CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(m_handle.get(), CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(m_handle.get(), CURLOPT_PROXY, "");
    curl_easy_setopt(m_handle.get(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle.get(), CURLOPT_TIMEOUT, 90L);
    if (plaintext == Plaintext::Wiped) {
        curl_easy_setopt(m_handle.get(), CURLOPT_SSL_CTX_FUNCTION, WipePlaintext);
    }
    curl_easy_setopt(m_handle.get(), CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(m_handle.get(), CURLOPT_WRITEDATA, &m_body);
    LogIn(url);
}

void PlainClient::LogIn(const std::string& url)
{
    std::string cookie;
    const std::string body =
        std::string(R"({"username": ")") + Stage::USER + R"(", "scope": 0, "password": ")" + Stage::PASSWORD + R"("})";
    curl_easy_setopt(m_handle.get(), CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(m_handle.get(), CURLOPT_HEADERFUNCTION, TakeCookie);
    curl_easy_setopt(m_handle.get(), CURLOPT_HEADERDATA, &cookie);
    const Json::Value data = Read(Perform(url + "/deviceManager/rest//sessions"));
    m_base = url + "/deviceManager/rest/" + data["deviceid"].asString() + "/";
    m_headers.reset(curl_slist_append(nullptr, ("iBaseToken: " + data["iBaseToken"].asString()).c_str()));
    curl_slist_append(m_headers.get(), ("Cookie: " + cookie).c_str());
    curl_easy_setopt(m_handle.get(), CURLOPT_HEADERFUNCTION, nullptr);
    curl_easy_setopt(m_handle.get(), CURLOPT_HEADERDATA, nullptr);
    curl_easy_setopt(m_handle.get(), CURLOPT_HTTPHEADER, m_headers.get());
    curl_easy_setopt(m_handle.get(), CURLOPT_HTTPGET, 1L);
}

const std::string& PlainClient::Perform(const std::string& url)
{
    m_body.clear();
    curl_easy_setopt(m_handle.get(), CURLOPT_URL, url.c_str());
    const CURLcode code = curl_easy_perform(m_handle.get());
    if (code != CURLE_OK) {
        throw std::runtime_error(url + ": " + curl_easy_strerror(code));
    }
    return m_body;
}

const std::string& PlainClient::Get(const std::string& resource)
{
    return Perform(m_base + resource);
}

void PlainClient::LogOut()
{
    curl_easy_setopt(m_handle.get(), CURLOPT_CUSTOMREQUEST, "DELETE");
    Get("sessions");
}

Json::Value PlainClient::GetData(const std::string& resource)
{
    return Read(Get(resource));
}

Json::Value PlainClient::Read(const std::string& text) const
{
    Json::Value root;
    if (!m_reader->parse(text.data(), text.data() + text.size(), &root, nullptr) ||
        root["error"]["code"].asInt() != 0) {
        throw std::runtime_error("the array refuses: " + text);
    }
    return std::move(root["data"]);
}
