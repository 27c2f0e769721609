#include "framework/http/header_lines.h"

#include "base/secret.h"
#include "framework/http/header_name.h"

#include <numeric>

namespace Framework {

namespace {

// A name with this behind it and nothing else takes a header away that libcurl would send, ...
constexpr std::string_view NONE = ":";

// ... and with this, an empty header is sent.
constexpr std::string_view EMPTY = ";";

constexpr std::string_view VALUE = ": ";

constexpr std::size_t MAX_OWN_LINES = 3;
constexpr std::size_t MAX_OWN_BYTES = 128;

// So much that the block never has to move, which would leave a copy behind.
std::size_t TextBytes(const TMSHttpRequest& request)
{
    return std::accumulate(request.headers.begin(), request.headers.end(), MAX_OWN_BYTES,
                           [](std::size_t sum, const auto& header) {
                               return sum + header.first.size() + VALUE.size() + header.second.size() + 1;
                           });
}

} // namespace

HeaderLines::HeaderLines(const TMSHttpRequest& request)
{
    m_text.reserve(TextBytes(request));
    m_list.reserve(request.headers.size() + MAX_OWN_LINES);
    bool hasContentType = false;
    for (const auto& [name, value] : request.headers) {
        if (IsSameHeader(name, "Accept-Encoding")) {
            m_acceptEncoding += (m_acceptEncoding.empty() ? "" : ", ") + value;
            continue;
        }
        hasContentType = hasContentType || IsSameHeader(name, "Content-Type");
        const bool isBlank = value.find_first_not_of(' ') == std::string::npos;
        Add(name, isBlank ? EMPTY : VALUE, isBlank ? std::string_view() : value);
    }
    if (!hasContentType) {
        Add("Content-Type", request.body.empty() ? NONE : VALUE, request.body.empty() ? "" : "application/json");
    }
    if (m_acceptEncoding.empty()) {
        Add("Accept-Encoding", NONE); // nothing is asked for
    }
    Add("Expect", NONE); // no waiting for leave to send the body
    Link();
}

HeaderLines::~HeaderLines()
{
    Secret::Wipe(m_text);
}

void HeaderLines::Add(std::string_view name, std::string_view separator, std::string_view value)
{
    m_list.push_back({m_text.data() + m_text.size(), nullptr});
    m_text.append(name).append(separator).append(value).push_back('\0');
}

void HeaderLines::Link()
{
    for (std::size_t index = 1; index < m_list.size(); ++index) {
        m_list[index - 1].next = &m_list[index];
    }
}

} // namespace Framework
