#ifndef PRODUCT_STORAGE_BENCH_PLAIN_CLIENT_H
#define PRODUCT_STORAGE_BENCH_PLAIN_CLIENT_H

#include <curl/curl.h>
#include <json/reader.h>

#include <memory>
#include <string>

/// A client of an array as one would write it by hand: one libcurl handle that is kept, the same TLS as the
/// framework's, and a JSON reader that is kept. Logged in from the start. One thread.
class PlainClient {
public:
    /// Whether what TLS has decrypted is wiped as well, as the framework has it.
    enum class Plaintext { Left, Wiped };

    /// Trusts what the file `authority` holds. Throws std::runtime_error when it cannot log in.
    PlainClient(const std::string& url, const std::string& authority, Plaintext plaintext = Plaintext::Left);
    PlainClient(const PlainClient&) = delete;
    PlainClient& operator=(const PlainClient&) = delete;
    ~PlainClient() = default;

    /// The answer's text to a GET of what stands behind the device id; it holds until the next request. Throws
    /// std::runtime_error when there is none.
    const std::string& Get(const std::string& resource);

    /// Logs out.
    void LogOut();

    /// The same, read. Throws std::runtime_error when the array refuses.
    Json::Value GetData(const std::string& resource);

private:
    struct Free {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    void LogIn(const std::string& url);
    const std::string& Perform(const std::string& url);
    Json::Value Read(const std::string& text) const;

    const std::unique_ptr<CURL, Free> m_handle;
    std::unique_ptr<curl_slist, Free> m_headers;
    const std::unique_ptr<Json::CharReader> m_reader;
    std::string m_base; ///< up to the device id, and the slash behind it
    std::string m_body;
};

#endif
