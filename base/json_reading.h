#ifndef PRODUCT_STORAGE_BASE_JSON_READING_H
#define PRODUCT_STORAGE_BASE_JSON_READING_H

#include <json/reader.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Base {

/// Reads JSON by one builder's settings, one text after the other. Takes longer to make than a short text takes to
/// read: WithKeptByThread keeps one for each thread. Holds nothing of what it read. For whoever links the JSON library.
class JsonReader {
public:
    explicit JsonReader(Json::CharReaderBuilder settings = Json::CharReaderBuilder())
        : m_settings(std::move(settings))
    {
    }

    /// True, with `root` set, when `text` is JSON by the settings; else false with `root` undefined and, where one is
    /// wanted, why in `problem`. Throws std::bad_alloc when memory runs out.
    bool Read(std::string_view text, Json::Value& root, std::string* problem = nullptr)
    {
        std::unique_ptr<Json::CharReader> reader = std::move(m_kept);
        if (reader == nullptr) {
            reader.reset(m_settings.newCharReader());
        }
        try {
            if (!reader->parse(text.data(), text.data() + text.size(), &root, problem)) {
                return false;
            }
        } catch (const Json::Exception& error) { // nested deeper than the stack limit
            if (problem != nullptr) {
                *problem = error.what();
            }
            return false;
        }
        // The library's reader remembers what it refused and the comments that it met, and nothing else.
        constexpr char COMMENT = '/';
        if (text.find(COMMENT) == std::string_view::npos) {
            m_kept = std::move(reader);
        }
        return true;
    }

private:
    const Json::CharReaderBuilder m_settings;
    std::unique_ptr<Json::CharReader> m_kept; ///< null when the next text needs a new one
};

} // namespace Base

#endif
