#include "simulator/json/json_io.h"

#include "base/json_writing.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

namespace ZavSim {

std::optional<Json::Value> ParseJson(const std::string& text, std::string& problem)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["failIfExtra"] = true;
    builder["stackLimit"] = 64;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &value, &problem)) {
            return value;
        }
    } catch (const Json::Exception& error) { // nested deeper than the stack limit
        problem = error.what();
    }
    return std::nullopt;
}

std::string WriteJson(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Base::WriteJson(builder, value);
}

std::string WriteJsonIndented(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = " ";
    return Base::WriteJson(builder, value) + "\n";
}

} // namespace ZavSim
