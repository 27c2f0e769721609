#ifndef PRODUCT_STORAGE_BASE_JSON_READING_H
#define PRODUCT_STORAGE_BASE_JSON_READING_H

#include <json/reader.h>

#include <memory>
#include <string>
#include <string_view>

namespace Base {

/// True, with `root` set, when `text` is JSON by the builder's settings; else false with `root` undefined and, where
/// one is wanted, why in `problem`. Throws std::bad_alloc when memory runs out. Settings take longer to make than a
/// short text takes to read: callers keep them, one for each thread, so that none is gone while another thread reads.
/// They hold nothing of what was read. For whoever links the JSON library.
inline bool ReadJson(const Json::CharReaderBuilder& settings, std::string_view text, Json::Value& root,
                     std::string* problem = nullptr)
{
    const std::unique_ptr<Json::CharReader> reader(settings.newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &root, problem);
    } catch (const Json::Exception& error) { // nested deeper than the stack limit
        if (problem != nullptr) {
            *problem = error.what();
        }
        return false;
    }
}

} // namespace Base

#endif
