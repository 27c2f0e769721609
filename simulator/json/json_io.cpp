#include "simulator/json/json_io.h"

#include "base/json_reading.h"
#include "base/json_writing.h"
#include "base/kept_by_thread.h"

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
    Json::Value value;
    const bool isRead =
        Base::WithKeptByThread([] { return Base::JsonReader(StrictSettings()); },
                               [&](Base::JsonReader& reader) { return reader.Read(text, value, &problem); });
    return isRead ? std::optional(std::move(value)) : std::nullopt;
}

std::string WriteJson(const Json::Value& value)
{
    return Base::WithKeptByThread(
        [] { return IndentedBy(""); },
        [&value](const Json::StreamWriterBuilder& settings) { return Base::WriteJson(settings, value); });
}

std::string WriteJsonIndented(const Json::Value& value)
{
    return Base::WithKeptByThread(
        [] { return IndentedBy(" "); },
        [&value](const Json::StreamWriterBuilder& settings) { return Base::WriteJson(settings, value) + "\n"; });
}

} // namespace ZavSim
