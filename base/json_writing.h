#ifndef PRODUCT_STORAGE_BASE_JSON_WRITING_H
#define PRODUCT_STORAGE_BASE_JSON_WRITING_H

#include <json/writer.h>

#include <memory>
#include <sstream>
#include <string>

namespace Base {

/// `value` as text, with the builder's settings. Throws std::bad_alloc when memory runs out, where the JSON library's
/// own operation gives as much of the text as there was room for. For whoever links that library.
inline std::string WriteJson(const Json::StreamWriterBuilder& settings, const Json::Value& value)
{
    std::ostringstream text;
    text.exceptions(std::ios::badbit | std::ios::failbit); // what was thrown within comes out again
    const std::unique_ptr<Json::StreamWriter> writer(settings.newStreamWriter());
    writer->write(value, &text);
    return text.str();
}

} // namespace Base

#endif
