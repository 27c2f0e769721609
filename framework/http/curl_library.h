#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_CURL_LIBRARY_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_CURL_LIBRARY_H

#include "base/free_by.h"

#include <curl/curl.h>

#include <memory>
#include <string>

namespace Framework {

using CurlHandle = std::unique_ptr<CURL, Base::FreeBy<curl_easy_cleanup>>;
using CurlMultiHandle = std::unique_ptr<CURLM, Base::FreeBy<curl_multi_cleanup>>;
using CurlUrl = std::unique_ptr<CURLU, Base::FreeBy<curl_url_cleanup>>;

/// A new handle for one transfer at a time, whose sockets no other program inherits; null when there is none. The first
/// call of the process initialises libcurl such that it wipes each of its buffers when it gives it back: they hold
/// passwords, tokens and cookies. Where another part of the program has initialised libcurl before, its buffers are
/// given back as they are.
CurlHandle MakeCurlHandle();

/// What keeps connections alive between transfers, one transfer at a time; null when there is none.
CurlMultiHandle MakeCurlMultiHandle();

/// Why a transfer failed. `details` is the handle's error buffer.
std::string FailureText(CURL* curl, CURLcode code, const char* details);

} // namespace Framework

#endif
