#include "tests/unit/device/device_test.h"

#include "common/framework/log_proxy.h"
#include "common/framework/product_messages.pb.h"
#include "device/device_operate.h"

#include <json/reader.h>
#include <json/writer.h>

#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>

#include <algorithm>
#include <memory>

DeviceTest::DeviceTest()
{
    boost::filesystem::create_directory(Root() + "/conf");
    m_programPath.emplace(Root() + "/bin/agent");
    TSP_RequestID.set(REQUEST_ID);
}

DeviceTest::~DeviceTest()
{
    TSP_RequestID.set(0);
}

std::string DeviceTest::FilePath(const std::string& key) const
{
    return Root() + "/conf/" + key + "-info.conf";
}

void DeviceTest::WriteFile(const std::string& text, const std::string& key) const
{
    WriteText(FilePath(key), text);
}

void DeviceTest::WriteRecord(const Record& record, const std::string& key) const
{
    Json::Value root;
    root[key] = Json::Value(Json::objectValue);
    for (const auto& [name, value] : record) {
        root[key][name] = value;
    }
    WriteFile(Json::writeString(Json::StreamWriterBuilder(), root), key);
}

std::string DeviceTest::FileText(const std::string& key) const
{
    return ReadText(FilePath(key));
}

DeviceTest::Record DeviceTest::FileRecord(const std::string& key) const
{
    const std::string text = FileText(key);
    Json::Value root;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    if (text.empty() || !reader->parse(text.data(), text.data() + text.size(), &root, nullptr)) {
        return {};
    }
    Record record;
    for (const std::string& name : root[key].getMemberNames()) {
        EXPECT_TRUE(root[key][name].isString()) << name;
        record[name] = root[key][name].asString();
    }
    return record;
}

void DeviceTest::RemoveConfFolder() const
{
    boost::filesystem::remove_all(Root() + "/conf");
}

std::vector<std::string> DeviceTest::LinesOf(const std::string& function) const
{
    std::vector<std::string> lines;
    for (const LogLine& line : m_log.Lines()) {
        if (line.function != function) {
            continue;
        }
        EXPECT_EQ("DeviceSetOperator", line.module) << line.text;
        EXPECT_EQ(0, line.code) << line.text;
        EXPECT_EQ(REQUEST_ID, line.requestId) << line.text;
        lines.push_back(std::to_string(line.level) + " " + line.text);
    }
    return lines;
}

std::vector<std::string> DeviceTest::Loggers() const
{
    std::vector<std::string> names;
    for (const LogLine& line : m_log.Lines()) {
        if (std::find(names.begin(), names.end(), line.function) == names.end()) {
            names.push_back(line.function);
        }
    }
    return names;
}

DeviceTest::Record DeviceTest::CompleteRecord()
{
    return {{"HOSTID", "12"},        {"HOSTNAME", "host"},
            {"HOSTGROUPID", "5"},    {"HOSTGROUPNAME", "hosts"},
            {"LUNGROUPID", "31"},    {"LUNGROUPNAME", "luns"},
            {"MAPVIEWID", "7"},      {"MAPVIEWNAME", "view"},
            {"FCINITIATORNAME", ""}, {"ISCSIINITIATORNAME", "iqn.node"}};
}

Zav::SessionInfo DeviceTest::Session()
{
    return {"https://10.0.0.1:8088", KEY, "TOK1", "session=c1"};
}

std::vector<std::string> DeviceTest::Texts(const ZavMapInfo& info)
{
    return {boost::join(info.device_keys(), ","),      boost::join(info.host_group_ids(), ","),
            boost::join(info.host_group_names(), ","), boost::join(info.host_ids(), ","),
            boost::join(info.host_names(), ","),       boost::join(info.lun_group_ids(), ","),
            boost::join(info.lun_group_names(), ","),  boost::join(info.map_view_ids(), ","),
            boost::join(info.map_view_names(), ",")};
}

std::vector<std::string> DeviceTest::Memory(DeviceOperate& device)
{
    ZavMapInfo info;
    device.AddZavMessage(info, KEY);
    std::vector<std::string> texts = Texts(info);
    texts.erase(texts.begin());
    return texts;
}

DeletedWorkingDirectory::DeletedWorkingDirectory()
    : m_before(boost::filesystem::current_path().string())
{
    const TemporaryFolder folder;
    boost::filesystem::current_path(folder.Path());
}

DeletedWorkingDirectory::~DeletedWorkingDirectory()
{
    boost::system::error_code ignored;
    boost::filesystem::current_path(m_before, ignored);
}
