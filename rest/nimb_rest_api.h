#ifndef PRODUCT_STORAGE_REST_NIMB_REST_API_H
#define PRODUCT_STORAGE_REST_NIMB_REST_API_H

#include "common/export.h"
#include "common/framework/http_client.h"

#include <json/value.h>

#include <boost/shared_ptr.hpp>

#include <string>
#include <vector>

/// One session with a distributed block storage cluster's management REST interface. Call Init, then Login, then any
/// query; destruction logs out.
///
/// A 0 result means that an answer arrived, not that the storage granted the request: what a query was refused with is
/// in `errorText` alone, and its output is then unchanged, as it is when the answer leaves it out. Other results: -1 no
/// response, or an answer that holds something else where a text belongs, 200000 a transport failure, else the HTTP
/// status. Every request is tried up to four times, three seconds apart, whatever fails; each attempt may
/// take ten seconds.
/// Threads: one object, one thread at a time. Owner: its caller.
class PRODUCT_STORAGE_API NimbRestApi {
public:
    NimbRestApi() = default;
    NimbRestApi(const NimbRestApi&) = delete;
    NimbRestApi& operator=(const NimbRestApi&) = delete;
    virtual ~NimbRestApi();

    virtual int GetStorageVersion(std::string& version, std::string& errorText);
    virtual int GetSerialNum(std::string& serialNumber, std::string& errorText);
    virtual int GetProductMode(std::string& productModel, std::string& errorText);

    /// Appends the floating, the standby and the active address, in this order, as far as the storage tells them. -1,
    /// with those before the bad one, when it tells no external addresses or malformed ones; 0 with none when it tells
    /// nothing at all.
    virtual int GetManagementIP(std::vector<std::string>& ips, std::string& errorText);

    /// Makes the HTTP client, in place of an earlier one. False when none can be made.
    bool Init();

    /// 1 when logged in, 0 when not: the opposite sense of the other operations, on purpose. Address and credentials
    /// are kept for a login that a request has to repeat.
    int Login(const std::string& ip, const std::string& port, const std::string& userName, const std::string& password,
              std::string& errorText);

    /// Ends the session on the storage; its outcome is only logged. The token is kept.
    void Logout();

    /// Adds the fixed headers and the token, and puts https://address:port in front of the request's url, which holds
    /// the resource: a request is built afresh for each SendRequest.
    void BuildReqHeaders(TMSHttpRequest& request);

    /// Up to four attempts. `errorCode` is an input too: -401 has the session renewed before the next attempt, which
    /// still bears the token that the request was built with.
    int SendRequest(TMSHttpRequest& request, Json::Value& data, std::string& errorText, int& errorCode);

    /// One attempt. 0 whenever an answer with a success status came, whatever its body says.
    int SendAndParseRsp(const TMSHttpRequest& request, Json::Value& data, std::string& errorText, int& errorCode);

    /// Unwrap the two dialects of answers: 0, or -1 with `errorText` and, where the body tells one, `errorCode` set. A
    /// refusal of the older dialect that lists no details sets neither.
    int ParseBodyV1(const std::string& body, Json::Value& data, std::string& errorText, int& errorCode);
    int ParseBodyV2(const std::string& body, Json::Value& data, std::string& errorText, int& errorCode);

private:
    struct PRODUCT_STORAGE_LOCAL TextQuery;

    PRODUCT_STORAGE_LOCAL int UnwrapResponse(const std::string& url, const QEN::IHttpResponse* response,
                                             Json::Value& data, std::string& errorText, int& errorCode);
    PRODUCT_STORAGE_LOCAL int Query(const std::string& resource, Json::Value& data, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int QueryText(const TextQuery& query, std::string& text, bool& isTold,
                                        std::string& errorText);

    std::string m_token;
    boost::shared_ptr<QEN::IHttpClient> m_httpClient;
    std::string m_ip;
    std::string m_port;
    std::string m_userName;
    std::string m_password;
};

#endif
