#include "simulator/http/wire_message.h"

#include "simulator/http/target.h"
#include "simulator/message/http_date.h"

#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http/serializer.hpp>

#include <algorithm>

namespace ZavSim {

namespace {

namespace beast = boost::beast;
namespace http = boost::beast::http;

bool MayHaveBody(http::status status)
{
    return status != http::status::no_content && status != http::status::not_modified;
}

} // namespace

HttpRequest FromWire(WireRequest& request)
{
    HttpRequest own;
    own.method = std::string(request.method_string());
    const auto target = request.target();
    own.target = WithoutAuthority({target.data(), target.size()});
    for (const auto& field : request) {
        own.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
    }
    own.body = std::move(request.body());
    return own;
}

WireResponse ToWire(HttpAnswer& answer, const WireRequest& request)
{
    WireResponse response;
    response.version(request.version());
    response.result(static_cast<unsigned int>(answer.status));
    for (const auto& [name, value] : answer.headers) {
        response.insert(name, value);
    }
    if (response.find(http::field::date) == response.end()) {
        response.set(http::field::date, HttpDate());
    }
    response.set(http::field::content_type, answer.contentType);
    response.keep_alive(request.keep_alive());
    if (response.result() != http::status::no_content) {
        const std::int64_t announced = static_cast<std::int64_t>(answer.body.size()) + answer.delivery.lengthError;
        response.content_length(static_cast<std::uint64_t>(std::max(announced, std::int64_t(0))));
    }
    if (request.method() != http::verb::head && MayHaveBody(response.result())) {
        response.body() = std::move(answer.body);
    }
    return response;
}

std::string BytesOf(const WireResponse& response, const Delivery& delivery)
{
    if (delivery.part == Delivery::Part::None) {
        return {};
    }
    std::string bytes;
    http::response_serializer<http::string_body> serializer(response);
    beast::error_code error;
    while (!serializer.is_done() && !error) {
        serializer.next(error, [&](beast::error_code& /*error*/, const auto& buffers) {
            bytes += beast::buffers_to_string(buffers);
            serializer.consume(beast::buffer_bytes(buffers));
        });
    }
    const std::size_t left =
        delivery.part == Delivery::Part::Half ? response.body().size() / 2 : response.body().size();
    bytes.resize(bytes.size() - response.body().size() + left);
    return bytes;
}

std::string HeadOfStream(WireResponse& response)
{
    response.erase(http::field::content_length);
    response.keep_alive(false);
    response.body().clear();
    return BytesOf(response, {});
}

bool IsPlain(const Delivery& delivery)
{
    return delivery.part == Delivery::Part::All && delivery.end == Delivery::End::AsAgreed && delivery.pieceBytes == 0;
}

} // namespace ZavSim
