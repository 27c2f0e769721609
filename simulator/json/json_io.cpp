#include "simulator/json/json_io.h"

#include "base/json_reading.h"
#include "base/json_writing.h"

#include <utility>

namespace ZavSim {

namespace {

Json::CharReaderBuilder StrictSettings()
{
    Json::CharReaderBuilder settings;
    Json::CharReaderBuilder::strictMode(&settings.settings_);
    settings["failIfExtra"] = true;
    settings["stackLimit"] = 64;
    return settings;
}

Json::StreamWriterBuilder IndentedBy(const char* indentation)
{
    Json::StreamWriterBuilder settings;
    settings["indentation"] = indentation;
    return settings;
}

} // namespace

std::optional<Json::Value> ParseJson(const std::string& text, std::string& problem)
{
    thread_local Base::JsonReader reader(StrictSettings());
    Json::Value value;
    return reader.Read(text, value, &problem) ? std::optional(std::move(value)) : std::nullopt;
}

std::string WriteJson(const Json::Value& value)
{
    thread_local const Json::StreamWriterBuilder settings = IndentedBy("");
    return Base::WriteJson(settings, value);
}

std::string WriteJsonIndented(const Json::Value& value)
{
    thread_local const Json::StreamWriterBuilder settings = IndentedBy(" ");
    return Base::WriteJson(settings, value) + "\n";
}

} // namespace ZavSim
