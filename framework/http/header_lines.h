#ifndef PRODUCT_STORAGE_FRAMEWORK_HTTP_HEADER_LINES_H
#define PRODUCT_STORAGE_FRAMEWORK_HTTP_HEADER_LINES_H

#include "common/framework/http_client.h"

#include <curl/curl.h>

#include <string>
#include <string_view>
#include <vector>

namespace Framework {

/// The headers of one request as libcurl takes them: its own list, of texts that stand in one block, which is wiped
/// with the object.
class HeaderLines {
public:
    /// Sound headers, as FindRequestProblem has it.
    explicit HeaderLines(const TMSHttpRequest& request);
    HeaderLines(const HeaderLines&) = delete;
    HeaderLines& operator=(const HeaderLines&) = delete;
    ~HeaderLines();

    /// Valid as long as the object.
    curl_slist* Get() { return m_list.data(); }

    /// The values of all headers of that name, which are not in the list: libcurl has an option for them.
    const std::string& AcceptEncoding() const { return m_acceptEncoding; }

private:
    void Add(std::string_view name, std::string_view separator, std::string_view value = {});
    void Link();

    std::string m_text; ///< each line with a NUL behind it
    std::vector<curl_slist> m_list;
    std::string m_acceptEncoding;
};

} // namespace Framework

#endif
