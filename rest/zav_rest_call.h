#ifndef PRODUCT_STORAGE_REST_ZAV_REST_CALL_H
#define PRODUCT_STORAGE_REST_ZAV_REST_CALL_H

#include "rest/zav_rest_api.h"

#include <map>
#include <string>
#include <string_view>

/// One exchange with the array in the words of the operation that makes it.
struct ZavRestApi::Call {
    std::string_view operation; ///< the name under which shared code logs
    std::string method;
    std::string resource;                          ///< behind `/deviceManager/rest/<device id>/`
    std::map<std::string, std::string> query = {}; ///< appended behind "?" when not empty
    std::string body = {};                         ///< JSON
    bool parseCookie = false;

    // The operation's own lines, all at level 4.
    std::string_view notLogined = "The device has not logined.";
    std::string_view failed = {};                       ///< when the exchange failed; empty for none
    std::string_view unreadable = "Throw a exception."; ///< when a list's element cannot be read; its cause follows
};

#endif
