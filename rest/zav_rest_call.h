#ifndef PRODUCT_STORAGE_REST_ZAV_REST_CALL_H
#define PRODUCT_STORAGE_REST_ZAV_REST_CALL_H

#include "rest/zav_rest_api.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// One exchange with the array in the words of the operation that makes it.
struct ZavRestApi::Call {
    std::string_view operation; ///< the name under which shared code logs
    std::string method;
    std::string resource; ///< behind `/deviceManager/rest/<device id>/`
    /// key=value, in this order, behind "?" when there are any.
    std::vector<std::pair<std::string, std::string>> query = {};
    std::string body = {}; ///< JSON
    bool parseCookie = false;

    // The operation's own lines, all at level 4.
    std::string_view notLoginedText = "The device has not logined.";
    std::string_view failedText = {};                       ///< when the exchange failed; empty for none
    std::string_view unreadableText = "Throw a exception."; ///< before the cause, when a list cannot be read
};

#endif
