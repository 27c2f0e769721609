#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_REQUEST_CHECK_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_REQUEST_CHECK_H

#include "common/framework/http_client.h"

#include <string>

namespace Framework {

/// Why the method or a header of the request cannot be sent as it is; empty when they can. What is refused could
/// otherwise change the request's form on its way, as a line end in a header does.
std::string FindRequestProblem(const TMSHttpRequest& request);

} // namespace Framework

#endif
