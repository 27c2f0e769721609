#ifndef PRODUCT_STORAGE_TESTS_SUPPORT_HTTP_CLIENT_H
#define PRODUCT_STORAGE_TESTS_SUPPORT_HTTP_CLIENT_H

#include "tests/support/http_message.h"

#include <chrono>
#include <memory>
#include <string>

/// A client that knows nothing but HTTP: sends requests as they are written, on one connection as long as it lasts.
class HttpClient {
public:
    /// `url`: scheme, numeric address and port. `authority`: the file of the certificate authority to trust; empty:
    /// whoever answers.
    explicit HttpClient(const std::string& url, const std::string& authority = {});
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Of the answer at the most; 20 s unless set.
    void SetTimeout(std::chrono::milliseconds timeout);

    HttpReply Send(const std::string& method, const std::string& target, const Headers& headers = {},
                   const std::string& body = {});

    /// OpenSSL's verdict on the last server's certificate; 0 is good.
    long VerifyResult() const;

private:
    class Connection;

    const bool m_isTls;
    const std::string m_host;
    const unsigned short m_port;
    const std::string m_authority;
    std::chrono::milliseconds m_timeout{20000};
    std::unique_ptr<Connection> m_connection;
    long m_verifyResult = 0;
};

#endif
