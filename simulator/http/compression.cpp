#include "simulator/http/compression.h"

#include "simulator/http/target.h"

#define ZLIB_CONST // input that stays as it is
#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr const char* GZIP = "gzip";

std::string WithoutBlanks(const std::string& text)
{
    std::string bare;
    std::copy_if(text.begin(), text.end(), std::back_inserter(bare), [](char c) { return c != ' ' && c != '\t'; });
    std::transform(bare.begin(), bare.end(), bare.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return bare;
}

/// A quality such as "q=0" or "q=0.000".
bool IsNone(const std::string& parameter)
{
    return parameter.rfind("q=0", 0) == 0 && parameter.find_first_not_of("0.", 2) == std::string::npos;
}

std::string Gzip(const std::string& text)
{
    constexpr int GZIP_WINDOW = 15 + 16; // zlib's way to ask for gzip's header and trailer
    constexpr int USUAL_MEMORY = 8;
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, GZIP_WINDOW, USUAL_MEMORY, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("no memory for compressing an answer");
    }
    const std::unique_ptr<z_stream, int (*)(z_stream*)> owner(&stream, &deflateEnd);
    std::string compressed(deflateBound(&stream, text.size()), '\0'); // so that one call takes it all
    stream.next_in = reinterpret_cast<const Bytef*>(text.data());
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) {
        throw std::runtime_error("an answer could not be compressed");
    }
    compressed.resize(stream.total_out);
    return compressed;
}

} // namespace

bool AcceptsGzip(const HttpRequest& request)
{
    bool named = false;
    bool accepted = false;
    bool anyAccepted = false;
    for (const std::string& header : request.HeaderValues("Accept-Encoding")) {
        for (const std::string& offer : Split(WithoutBlanks(header), ',')) {
            const auto parts = Split(offer, ';');
            const bool allowed = std::none_of(parts.begin() + 1, parts.end(), &IsNone);
            if (parts.front() == GZIP) {
                named = true;
                accepted = allowed;
            } else if (parts.front() == "*") {
                anyAccepted = allowed;
            }
        }
    }
    return named ? accepted : anyAccepted;
}

void CompressIfAsked(const HttpRequest& request, HttpAnswer& answer)
{
    if (answer.body.empty() || !AcceptsGzip(request)) {
        return;
    }
    answer.body = Gzip(answer.body);
    answer.headers.emplace_back("Content-Encoding", GZIP);
    answer.headers.emplace_back("Vary", "Accept-Encoding");
    answer.encoding = GZIP;
}

} // namespace ZavSim
