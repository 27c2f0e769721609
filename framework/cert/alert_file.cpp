#include "framework/cert/alert_file.h"

#include "base/files.h"
#include "base/json_reading.h"
#include "base/json_writing.h"
#include "base/utc_text.h"
#include "framework/support/change_lock.h"
#include "framework/support/log_line.h"

#include <json/value.h>
#include <json/writer.h>

#include <openssl/evp.h>

#include <unistd.h>

#include <boost/algorithm/hex.hpp>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <stdexcept>

namespace Framework {

namespace {

constexpr std::size_t MAX_FILE_BYTES = 16 * 1024 * 1024;
constexpr unsigned int FILE_MODE = 0644;

bool IsPlain(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '_';
}

std::string Sha256Hex(const std::string& text)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned int size = 0;
    EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_sha256(), nullptr);
    std::string hex;
    boost::algorithm::hex_lower(digest.begin(), digest.begin() + size, std::back_inserter(hex));
    return hex;
}

// Letters, digits, '-' and '_' stand for themselves, every other byte for '%' and two digits; so roles never share a
// name, and none leaves the directory. One too long for a file name is replaced by its digest.
std::string FileName(const std::string& role)
{
    constexpr std::size_t MAX_NAME_SIZE = 200;
    std::string name;
    for (const char character : role) {
        if (IsPlain(character)) {
            name += character;
            continue;
        }
        std::array<char, 4> code;
        std::snprintf(code.data(), code.size(), "%%%02X",
                      static_cast<unsigned int>(static_cast<unsigned char>(character)));
        name += code.data();
    }
    return (name.size() > MAX_NAME_SIZE ? "%" + Sha256Hex(role) : name) + ".json";
}

bool IsAlert(const Json::Value& alert)
{
    return alert.isObject() && alert["address"].isString();
}

bool Parse(const std::string& text, Json::Value& alerts)
{
    Json::Value root;
    if (!Base::JsonReader().Read(text, root) || !root.isObject() || !root["alerts"].isArray()) {
        return false;
    }
    for (const Json::Value& alert : root["alerts"]) {
        if (!IsAlert(alert)) {
            return false;
        }
    }
    alerts = root["alerts"];
    return true;
}

// 0, or the error number. A file that is no list of alerts is set aside and counts as missing.
int Read(const std::string& path, Json::Value& alerts)
{
    alerts = Json::Value(Json::arrayValue);
    const Base::Descriptor file = Base::OpenForReading(path);
    if (!file.IsOpen()) {
        return errno == ENOENT ? 0 : errno;
    }
    std::string text;
    const int error = Base::ReadToEnd(file.Get(), MAX_FILE_BYTES, text);
    if (error != 0 || Parse(text, alerts)) {
        return error;
    }
    const std::string aside = path + ".unreadable";
    FRAMEWORK_LOG(Error) << path << " is no list of certificate alerts; it is kept as " << aside;
    return ::rename(path.c_str(), aside.c_str()) == 0 ? 0 : errno;
}

int Write(const std::string& path, const Json::Value& alerts)
{
    Json::Value root;
    root["alerts"] = alerts;
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "  ";
    return Base::ReplaceFile(path, Base::WriteJson(builder, root) + "\n", FILE_MODE);
}

Json::Value Without(const Json::Value& alerts, const std::string& address)
{
    Json::Value rest(Json::arrayValue);
    for (const Json::Value& alert : alerts) {
        if (alert["address"].asString() != address) {
            rest.append(alert);
        }
    }
    return rest;
}

// Reads the file, has `change` make another list of its alerts, and writes that if it differs. All of it is locked.
template <typename Change>
bool Update(const std::string& path, std::string& problem, const Change& change)
{
    Base::MakeParentDirectory(path);
    try {
        const ChangeLock lock(path);
        Json::Value alerts;
        int error = Read(path, alerts);
        if (error == 0) {
            const Json::Value changed = change(alerts);
            error = changed == alerts ? 0 : Write(path, changed);
        }
        if (error == 0) {
            return true;
        }
        problem = Base::ErrorText(error);
    } catch (const std::runtime_error& failure) {
        problem = failure.what();
    }
    problem = "The certificate alerts " + path + " cannot be changed: " + problem;
    return false;
}

} // namespace

AlertFile::AlertFile(const std::string& directory, const std::string& role)
    : m_path(directory + "/" + FileName(role))
{
}

bool AlertFile::Raise(const std::string& address, const std::string& reason, std::string& problem) const
{
    return Update(m_path, problem, [&](const Json::Value& alerts) {
        Json::Value alert;
        alert["address"] = address;
        alert["reason"] = reason;
        alert["time"] = Base::UtcText(std::time(nullptr));
        Json::Value changed = Without(alerts, address);
        changed.append(alert);
        return changed;
    });
}

bool AlertFile::Clear(const std::string& address, std::string& problem) const
{
    if (::access(m_path.c_str(), F_OK) != 0 && errno == ENOENT) {
        return true; // and no directory is made for it
    }
    return Update(m_path, problem, [&](const Json::Value& alerts) { return Without(alerts, address); });
}

} // namespace Framework
