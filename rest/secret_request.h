#ifndef PRODUCT_STORAGE_REST_SECRET_REQUEST_H
#define PRODUCT_STORAGE_REST_SECRET_REQUEST_H

#include "base/secret.h"
#include "common/framework/http_client.h"
#include "common/json_text.h"

#include <string>
#include <utility>

/// Adds a header whose value is a secret, as inserting into the set does: nothing changes when `request` bears the same
/// already. No copy of the value is left behind but the request's.
inline void InsertSecretHeader(TMSHttpRequest& request, const std::string& name, const std::string& value)
{
    std::pair<std::string, std::string> header(name, value);
    const Secret::ScopedWipe wipeValue(header.second);
    request.headers.insert(std::move(header));
}

/// A request that wipes its body and its headers' values when it is released: passwords, cookies and tokens.
struct SecretRequest : TMSHttpRequest {
    SecretRequest() = default;
    SecretRequest(const SecretRequest&) = delete;
    SecretRequest& operator=(const SecretRequest&) = delete;

    ~SecretRequest()
    {
        Secret::Wipe(body);
        Secret::Wipe(headers);
    }
};

/// JSON of an answer that may hold a secret, such as a login's; wiped when it is released.
struct SecretAnswer {
    SecretAnswer() = default;
    SecretAnswer(const SecretAnswer&) = delete;
    SecretAnswer& operator=(const SecretAnswer&) = delete;
    ~SecretAnswer() { JsonText::WipeTexts(data); }

    Json::Value data;
};

#endif
