#include "device/device_operate.h"
#include "device/device_set_operator.h"
#include "tests/fakes/fakes.h"
#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"
#include "tests/fuzz/support/require.h"
#include "tests/support/files.h"

#include <json/value.h>

#include <algorithm>

using namespace Fuzz;

namespace {

constexpr const char* KEY = "DEV1";
constexpr const char* FILE_NAME = "info.conf";

using Record = std::map<std::string, std::string>;

const TemporaryFolder& Folder()
{
    static const TemporaryFolder FOLDER;
    return FOLDER;
}

class Device : public DeviceOperate {
public:
    std::string GetDeviceInfoCfgFile(const std::string& /*key*/) override { return Folder().File(FILE_NAME); }
};

// Its own file lies beside the running program; its content is handed over.
class Set : public DeviceSetOperator {
public:
    bool ReadConfig(std::string& /*path*/, std::string& content) override
    {
        std::string path = Folder().File(FILE_NAME);
        return DeviceSetOperator::ReadConfig(path, content);
    }
};

struct Reading {
    bool hasThrown = false;
    bool isRead = false;
    Record info = {{"HOSTID", "kept"}};
};

template <typename Reader>
Reading Read(Reader& reader)
{
    Reading reading;
    try {
        reading.isRead = reader.ReadInfoFromJson(KEY, reading.info);
    } catch (const Json::Exception&) { // the one kind of exception that callers know
        reading.hasThrown = true;
    }
    return reading;
}

std::string Joined(const std::string& text)
{
    std::string joined = text;
    joined.erase(std::remove(joined.begin(), joined.end(), '\n'), joined.end());
    return joined.empty() ? "{}" : joined;
}

void CheckReading(const std::string& text, const Reading& reading)
{
    const std::optional<Json::Value> root = ParseJson(Joined(text));
    Require(root || (!reading.isRead && !reading.hasThrown), "what is no JSON is refused");
    Require(!root || reading.isRead || reading.hasThrown, "what is JSON is read");
    Require(reading.info.at("HOSTID") == "kept", "a key that is there already keeps its value");
    for (const auto& [name, value] : reading.info) {
        Require(name == "HOSTID" || MemberText((*root)[KEY], name) == value, "every text is the record's");
    }
    Require(!reading.isRead || root->isNull() || !root->isMember(KEY) ||
                reading.info.size() == (*root)[KEY].size() + ((*root)[KEY].isMember("HOSTID") ? 0U : 1U),
            "no member is left out");
}

// Whether every text in the file is one for sure: the writer replaces bytes, and escaped halves of characters, that are
// none.
bool HoldsTexts(const std::string& text)
{
    return text.find("\\ud") == std::string::npos && text.find("\\uD") == std::string::npos &&
           std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) < 128; });
}

void CheckWriting(const std::string& text, Device& device, const Reading& before)
{
    Record written = {{"MAPVIEWID", "7"}, {"HOSTNAME", "node"}};
    bool isWritten = false;
    try {
        isWritten = device.WriteInfoToJson(KEY, written);
    } catch (const Json::Exception&) {
        // a document or record that can hold no member
    }
    if (!isWritten) {
        Require(Folder().Read(FILE_NAME) == text, "a file that is not written stays as it is");
        return;
    }
    const Reading after = Read(device);
    if (!before.isRead) {
        return; // a member without a text
    }
    Record expected = written;
    expected.insert(before.info.begin(), before.info.end());
    Require(after.isRead, "what was written can be read");
    Require(!HoldsTexts(text) || after.info == expected, "writing changes the members that it names, and no others");
}

} // namespace

// The content of a device-information file.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text = Input(data, size).TakeRest();
    Fakes::ClearAll();
    Folder().Write(FILE_NAME, text);
    Device device;
    Set set;
    const Reading reading = Read(device);
    const Reading other = Read(set);
    CheckReading(text, reading);
    Require(reading.isRead == other.isRead && reading.info == other.info, "both classes read alike");
    Require(!other.hasThrown, "the device set throws nothing");
    try {
        Require(!device.ReadDeviceInfo(KEY) || reading.isRead || reading.hasThrown, "what is no JSON is not complete");
    } catch (const Json::Exception&) {
        // a document or record that holds no members
    }
    CheckWriting(text, device, reading);
    return 0;
}
