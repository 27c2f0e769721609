#include "device/device_operate.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_test.h"

#include <json/value.h>

#include <boost/filesystem/operations.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread.hpp>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <functional>
#include <iterator>
#include <utility>

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

// A device whose file is elsewhere, and whose file's content is given.
class ElsewhereDevice : public DeviceOperate {
public:
    explicit ElsewhereDevice(std::string path)
        : m_path(std::move(path))
    {
    }

    std::string GetDeviceInfoCfgFile(const std::string& /*key*/) override { return m_path; }

    bool ReadConfig(std::string& /*path*/, std::string& content) override
    {
        m_onReadConfig();
        content = "{}";
        return true;
    }

    std::function<void()> m_onReadConfig = [] {};

private:
    const std::string m_path;
};

// The end of a pipe that a device writes its file into.
class PipeReader {
public:
    explicit PipeReader(const std::string& path)
        : m_descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK))
    {
    }
    PipeReader(const PipeReader&) = delete;
    PipeReader& operator=(const PipeReader&) = delete;
    ~PipeReader() { close(m_descriptor); }

    // Blocks until something is written; false when nothing comes in a time that is too long for it.
    bool AwaitText() const
    {
        constexpr int TOO_LONG = 20000; // milliseconds
        pollfd awaited = {m_descriptor, POLLIN, 0};
        return poll(&awaited, 1, TOO_LONG) == 1 && (awaited.revents & POLLIN) != 0;
    }

    std::string ReadToTheEnd() const
    {
        fcntl(m_descriptor, F_SETFL, 0); // from now on reading waits for the writer
        std::string text;
        std::array<char, 4096> piece = {};
        for (ssize_t size = 0; (size = read(m_descriptor, piece.data(), piece.size())) > 0;) {
            text.append(piece.data(), static_cast<std::size_t>(size));
        }
        return text;
    }

private:
    const int m_descriptor;
};

class DeviceOperateFileTest : public DeviceTest {
protected:
    DeviceOperate m_device;
};

class DeviceOperateFallbackFileTest : public DeviceOperateFileTest {
protected:
    // The program's path is relative and the working directory gone, so that no absolute path can be made.
    DeviceOperateFallbackFileTest()
    {
        m_programPath.emplace("bin/agent");
        m_productRoot.Set(Root());
    }

    const DeletedWorkingDirectory m_nowhere;
};

TEST_F(DeviceOperateFallbackFileTest, WriteInfoToJsonKeepsTheArraysApartInTheSharedFile)
{
    Record first = {{"HOSTID", "1"}};
    Record second = {{"HOSTID", "2"}};
    EXPECT_TRUE(m_device.WriteInfoToJson("A", first));
    EXPECT_TRUE(m_device.WriteInfoToJson("B", second));
    EXPECT_TRUE(boost::filesystem::exists(Root() + "/conf/deviceinfo.conf"));
    Record info;
    EXPECT_TRUE(m_device.ReadInfoFromJson("A", info));
    EXPECT_THAT(info, ElementsAre(Pair("HOSTID", "1")));
    info.clear();
    EXPECT_TRUE(m_device.ReadInfoFromJson("B", info));
    EXPECT_THAT(info, ElementsAre(Pair("HOSTID", "2")));
}

class DeviceOperateWriteTest : public DeviceOperateFileTest {};

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonMakesTheFileWithTabIndentedJson)
{
    Record info = {{"HOSTNAME", "h\"1\""}, {"HOSTID", "1"}};
    EXPECT_TRUE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_EQ("{\n\t\"DEV1\" : \n\t{\n\t\t\"HOSTID\" : \"1\",\n\t\t\"HOSTNAME\" : \"h\\\"1\\\"\"\n\t}\n}", FileText());
    EXPECT_THAT(LinesOf("WriteInfoToJson"),
                ElementsAre("1 begin write device info from Json .", "1 write device info from Json finish."));
    EXPECT_THAT(Loggers(), ElementsAre("WriteInfoToJson", "GetDeviceInfoCfgFile", "ReadConfig"));
    EXPECT_THAT(info, ElementsAre(Pair("HOSTID", "1"), Pair("HOSTNAME", "h\"1\"")));
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonReplacesNamedMembersAndKeepsTheOthers)
{
    WriteRecord({{"HOSTID", "1"}, {"HOSTNAME", "h"}});
    Record info = {{"HOSTID", "2"}, {"LUNGROUPID", "31"}};
    EXPECT_TRUE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("HOSTID", "2"), Pair("HOSTNAME", "h"), Pair("LUNGROUPID", "31")));
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonKeepsTheOtherTopLevelMembers)
{
    WriteFile(R"({"A": {"HOSTID": "9"}, "note": [1, 2], "DEV1": {"HOSTID": "1"}})");
    Record info = {{"HOSTID", "2"}};
    EXPECT_TRUE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_EQ("{\n\t\"A\" : \n\t{\n\t\t\"HOSTID\" : \"9\"\n\t},\n\t\"DEV1\" : \n\t{\n\t\t\"HOSTID\" : \"2\"\n\t},\n"
              "\t\"note\" : \n\t[\n\t\t1,\n\t\t2\n\t]\n}",
              FileText());
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonShortensAFileThatWasLonger)
{
    WriteFile("{" + std::string(1000, ' ') + "}");
    Record info = {{"A", "1"}};
    EXPECT_TRUE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_EQ("{\n\t\"DEV1\" : \n\t{\n\t\t\"A\" : \"1\"\n\t}\n}", FileText());
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonLeavesAFileThatIsNoJson)
{
    WriteFile("{\"DEV1\": {\"HOSTID\"\n");
    Record info = {{"HOSTID", "2"}};
    EXPECT_FALSE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_EQ("{\"DEV1\": {\"HOSTID\"\n", FileText());
    EXPECT_THAT(LinesOf("WriteInfoToJson"),
                ElementsAre("1 begin write device info from Json .", "4 Json to string failed."));
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonReplacesTheFileAndKeepsItsModeAndLinks)
{
    WriteRecord({{"HOSTID", "1"}});
    boost::filesystem::permissions(FilePath(), boost::filesystem::perms(0604));
    boost::filesystem::rename(FilePath(), Root() + "/record");
    boost::filesystem::create_symlink(Root() + "/record", FilePath());
    const std::string before = FileText();
    std::ifstream reader(FilePath()); // who reads it meanwhile
    Record info = {{"HOSTID", "2"}};
    EXPECT_TRUE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_EQ(before, std::string(std::istreambuf_iterator<char>(reader), {}));
    EXPECT_THAT(FileRecord(), ElementsAre(Pair("HOSTID", "2")));
    EXPECT_TRUE(boost::filesystem::is_symlink(FilePath()));
    EXPECT_EQ(0604, boost::filesystem::status(Root() + "/record").permissions());
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonWithoutItsFolderFails)
{
    RemoveConfFolder();
    Record info = {{"HOSTID", "2"}};
    EXPECT_FALSE(m_device.WriteInfoToJson(KEY, info));
    EXPECT_THAT(LinesOf("WriteInfoToJson"),
                ElementsAre("1 begin write device info from Json .", "4 Config file write failed.",
                            "4 errno 2 (No such file or directory) at " + FilePath()));
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonOnAFullDiskFails)
{
    ElsewhereDevice device("/dev/full");
    Record info = {{"HOSTID", "2"}};
    EXPECT_FALSE(device.WriteInfoToJson(KEY, info));
    EXPECT_THAT(LinesOf("WriteInfoToJson"),
                ElementsAre("1 begin write device info from Json .", "4 Config file write failed.",
                            "4 errno 28 (No space left on device) at /dev/full"));
}

struct ShapeRow : NamedRow {
    std::string text;
};

class DeviceOperateWriteShapeTest : public DeviceOperateWriteTest, public ::testing::WithParamInterface<ShapeRow> {};

TEST_P(DeviceOperateWriteShapeTest, WriteInfoToJsonThrowsWhereNoRecordCanBeAndLeavesTheFile)
{
    WriteFile(GetParam().text);
    Record info = {{"HOSTID", "2"}};
    const DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    EXPECT_THROW(m_device.WriteInfoToJson(KEY, info), Json::LogicError);
    EXPECT_EQ(GetParam().text, FileText());
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
}

INSTANTIATE_TEST_SUITE_P(Shapes, DeviceOperateWriteShapeTest,
                         ::testing::Values(ShapeRow{{"List"}, "[1]"},
                                           ShapeRow{{"RecordIsAText"}, R"({"DEV1": "text"})"}),
                         RowName<ShapeRow>);

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonWithoutTheFileLockThrowsAndWritesNothing)
{
    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    Record info = {{"HOSTID", "2"}};
    EXPECT_THROW(m_device.WriteInfoToJson(KEY, info), boost::lock_error);
    EXPECT_FALSE(boost::filesystem::exists(FilePath()));
    EXPECT_THAT(LinesOf("WriteInfoToJson"), ElementsAre("1 begin write device info from Json ."));
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonHoldsTheFileLockFromReadingUntilTheFileIsWritten)
{
    // A writer cannot come to the end of a pipe before somebody reads more than the pipe holds.
    const std::string pipe = Root() + "/pipe";
    ASSERT_EQ(0, mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR));
    const PipeReader reader(pipe);
    const DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    ElsewhereDevice device(pipe);
    bool wasHeldWhenReading = false;
    device.m_onReadConfig = [&] { wasHeldWhenReading = watch.IsHeld(); };
    bool isWritten = false;
    boost::thread writer([&] {
        Record info = {{"HOSTID", std::string(1 << 20, 'x')}};
        isWritten = device.WriteInfoToJson(KEY, info);
    });

    const bool isWriting = reader.AwaitText();
    const bool wasHeldWhenWriting = watch.IsHeld();
    const std::string text = isWriting ? reader.ReadToTheEnd() : "";
    writer.join();

    EXPECT_TRUE(isWritten);
    EXPECT_TRUE(wasHeldWhenReading);
    EXPECT_TRUE(wasHeldWhenWriting);
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
    EXPECT_THAT(text, StartsWith("{"));
    EXPECT_THAT(text, EndsWith("}"));
}

TEST_F(DeviceOperateWriteTest, WriteInfoToJsonOfSeveralThreadsLosesNothing)
{
    constexpr int THREADS = 4;
    constexpr int WRITES = 8;
    boost::thread_group writers;
    for (int thread = 0; thread < THREADS; ++thread) {
        writers.create_thread([thread] {
            DeviceOperate device; // one for each thread, as for each array
            for (int write = 0; write < WRITES; ++write) {
                Record info = {{std::to_string(thread) + "." + std::to_string(write), "1"}};
                EXPECT_TRUE(device.WriteInfoToJson(KEY, info));
            }
        });
    }
    writers.join_all();
    EXPECT_THAT(FileRecord(), SizeIs(THREADS * WRITES));
}

class DeviceOperateReadTest : public DeviceOperateFileTest {};

TEST_F(DeviceOperateReadTest, ReadDeviceInfoTellsTheContentAndThatItIsComplete)
{
    WriteFile("{\"DEV1\": {\"MAPVIEWID\": \"7\",\n\"ISCSIINITIATORNAME\": \"iqn.node\"}}");
    EXPECT_TRUE(m_device.ReadDeviceInfo(KEY));
    EXPECT_THAT(LinesOf("ReadDeviceInfo"),
                ElementsAre("1 begin read device info from Json .",
                            R"(2 config content:{"DEV1": {"MAPVIEWID": "7","ISCSIINITIATORNAME": "iqn.node"}})",
                            "2 The conf file is exist and complete!"));
}

TEST_F(DeviceOperateReadTest, ReadDeviceInfoTakesNoLock)
{
    WriteRecord(CompleteRecord());
    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    EXPECT_TRUE(m_device.ReadDeviceInfo(KEY));
}

TEST_F(DeviceOperateReadTest, ReadDeviceInfoWithoutAFileFindsNoRecord)
{
    EXPECT_FALSE(m_device.ReadDeviceInfo(KEY));
    EXPECT_THAT(LinesOf("ReadDeviceInfo"), ElementsAre("1 begin read device info from Json .", "2 config content:{}",
                                                       "4 The device conf is not exist."));
}

TEST_F(DeviceOperateReadTest, ReadDeviceInfoThrowsAtARecordThatIsNone)
{
    WriteFile(R"({"DEV1": "text"})");
    EXPECT_THROW(m_device.ReadDeviceInfo(KEY), Json::LogicError);
}

struct CompleteRow : NamedRow {
    std::string text;
    bool isComplete;
    std::string line;
};

class DeviceOperateCompleteTest : public DeviceOperateReadTest, public ::testing::WithParamInterface<CompleteRow> {};

TEST_P(DeviceOperateCompleteTest, ReadDeviceInfoAsksForAMappingViewAndAnInitiatorName)
{
    WriteFile(GetParam().text);
    EXPECT_EQ(GetParam().isComplete, m_device.ReadDeviceInfo(KEY));
    EXPECT_EQ(GetParam().line, LinesOf("ReadDeviceInfo").back());
    EXPECT_THAT(LinesOf("ReadDeviceInfo"), SizeIs(3));
}

constexpr const char* COMPLETE = "2 The conf file is exist and complete!";
constexpr const char* INCOMPLETE = "4 The conf file is not complete.";
constexpr const char* NO_RECORD = "4 The device conf is not exist.";
constexpr const char* NO_JSON = "4 failed to change json.";

INSTANTIATE_TEST_SUITE_P(
    Records, DeviceOperateCompleteTest,
    ::testing::Values(
        CompleteRow{{"ViewAndIscsi"}, R"({"DEV1": {"MAPVIEWID": "7", "ISCSIINITIATORNAME": "i"}})", true, COMPLETE},
        CompleteRow{{"ViewAndFc"}, R"({"DEV1": {"MAPVIEWID": "7", "FCINITIATORNAME": ";2100"}})", true, COMPLETE},
        CompleteRow{{"ViewAndEmptyFc"}, R"({"DEV1": {"MAPVIEWID": "7", "FCINITIATORNAME": ""}})", true, COMPLETE},
        CompleteRow{
            {"EmptyViewAndEmptyIscsi"}, R"({"DEV1": {"MAPVIEWID": "", "ISCSIINITIATORNAME": ""}})", true, COMPLETE},
        CompleteRow{{"ViewAndBoth"},
                    R"({"DEV1": {"MAPVIEWID": "7", "FCINITIATORNAME": "", "ISCSIINITIATORNAME": "i"}})",
                    true,
                    COMPLETE},
        CompleteRow{{"ViewAlone"}, R"({"DEV1": {"MAPVIEWID": "7"}})", false, INCOMPLETE},
        CompleteRow{
            {"InitiatorsAlone"}, R"({"DEV1": {"FCINITIATORNAME": "f", "ISCSIINITIATORNAME": "i"}})", false, INCOMPLETE},
        CompleteRow{{"NamesAlone"}, R"({"DEV1": {"MAPVIEWNAME": "v", "HOSTID": "1"}})", false, INCOMPLETE},
        CompleteRow{{"EmptyRecord"}, R"({"DEV1": {}})", false, NO_RECORD},
        CompleteRow{{"OtherKey"}, R"({"DEV2": {"MAPVIEWID": "7", "FCINITIATORNAME": ""}})", false, NO_RECORD},
        CompleteRow{{"EmptyFile"}, "", false, NO_RECORD}, CompleteRow{{"Blank"}, " ", false, NO_JSON},
        CompleteRow{{"Torn"}, R"({"DEV1": {"MAPVIEWID")", false, NO_JSON}),
    RowName<CompleteRow>);

} // namespace
