#ifndef PRODUCT_STORAGE_REST_SECRET_REQUEST_H
#define PRODUCT_STORAGE_REST_SECRET_REQUEST_H

#include "common/framework/http_client.h"
#include "common/json_text.h"
#include "common/secret.h"

/// A request that wipes its body and its headers' values when it is released: passwords, cookies and tokens.
struct SecretRequest : TMSHttpRequest {
    SecretRequest() = default;
    SecretRequest(const SecretRequest&) = delete;
    SecretRequest& operator=(const SecretRequest&) = delete;

    ~SecretRequest()
    {
        Secret::Wipe(body);
        while (!headers.empty()) {
            Secret::Wipe(headers.extract(headers.begin()).value().second);
        }
    }
};

/// The data of an answer that holds a secret, such as a login's; wiped when it is released.
struct SecretAnswer {
    SecretAnswer() = default;
    SecretAnswer(const SecretAnswer&) = delete;
    SecretAnswer& operator=(const SecretAnswer&) = delete;
    ~SecretAnswer() { JsonText::WipeTexts(data); }

    Json::Value data;
};

#endif
