#include "simulator/page/page_service.h"

#include "simulator/http/compression.h"
#include "simulator/page/page_files.h"

#include <algorithm>
#include <string>

namespace ZavSim {

namespace {

constexpr int NOT_FOUND = 404;
constexpr int BAD_METHOD = 405;
constexpr std::string_view FRONT = "index.html";

struct TypeOfEnding {
    std::string_view ending;
    const char* type;
};

constexpr TypeOfEnding TYPES[] = {
    {".html", "text/html; charset=utf-8"},
    {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
};

// Nothing that is not the page's own is loaded, run or asked, whatever a name on the array may hold.
constexpr const char* CONTENT_SECURITY_POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; base-uri 'none'; "
    "form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'";

bool EndsWith(std::string_view text, std::string_view ending)
{
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

const char* TypeOf(std::string_view name)
{
    const auto* const found = std::find_if(std::begin(TYPES), std::end(TYPES),
                                           [name](const TypeOfEnding& each) { return EndsWith(name, each.ending); });
    return found == std::end(TYPES) ? "text/plain" : found->type;
}

std::string_view PathOf(const HttpRequest& request)
{
    const std::string_view target = request.target;
    return target.substr(0, target.find('?'));
}

} // namespace

bool PageService::IsAskedFor(const HttpRequest& request)
{
    if (PathOf(request) != "/" || (request.method != "GET" && request.method != "HEAD")) {
        return false;
    }
    const auto accepted = request.HeaderValues("Accept");
    return std::any_of(accepted.begin(), accepted.end(),
                       [](const std::string& types) { return types.find("text/html") != std::string::npos; });
}

HttpAnswer PageService::Handle(const HttpRequest& request)
{
    if (request.method != "GET" && request.method != "HEAD") {
        return PlainAnswer(BAD_METHOD, "the page can only be read");
    }
    const std::string_view path = PathOf(request);
    const std::string_view name = path == "/" ? FRONT : path.substr(std::string_view(PREFIX).size());
    const auto& files = AllPageFiles();
    const auto file =
        std::find_if(files.begin(), files.end(), [name](const PageFile& each) { return each.name == name; });
    if (file == files.end()) {
        return PlainAnswer(NOT_FOUND, "the page has no such file");
    }
    HttpAnswer answer;
    answer.contentType = TypeOf(name);
    answer.body = std::string(file->text);
    answer.headers = {
        {"Content-Security-Policy", CONTENT_SECURITY_POLICY},
        {"X-Content-Type-Options", "nosniff"},
        {"Referrer-Policy", "no-referrer"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Cache-Control", "no-store"}, // another build may answer here next
    };
    CompressIfAsked(request, answer);
    return answer;
}

HttpAnswer PageService::Refuse(const HttpRequest& /*request*/, const Fault& fault) const
{
    return PlainAnswer(NOT_FOUND, fault.description);
}

} // namespace ZavSim
