#include "device/device_info_record.h"
#include "tests/support/process.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/device/info_reader.h"

#include <json/value.h>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/thread/exceptions.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <tuple>

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StartsWith;

namespace {

const auto BOTH_CLASSES = ::testing::Values(DEVICE_READER, SET_READER);

class DeviceInfoTest : public DeviceTest {
protected:
    void ExpectFailureWithCause() const
    {
        std::vector<std::string> lines = LinesOf("ReadInfoFromJson");
        ASSERT_GE(lines.size(), 2U);
        EXPECT_THAT(lines.back(), StartsWith("4 The cause: "));
        EXPECT_EQ("4 failed to change json.", lines[lines.size() - 2]);
    }

    std::string m_path = "unset";
    std::string m_content;
    Record m_info;
};

class DeviceInfoPathTest : public DeviceInfoTest, public ::testing::WithParamInterface<ReaderKind> {
protected:
    const std::unique_ptr<InfoReader> m_reader = GetParam().make();
};
INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoPathTest, BOTH_CLASSES, RowName<ReaderKind>);

TEST_P(DeviceInfoPathTest, GetDeviceInfoCfgFileLeadsToConfBesideTheProgramsFolder)
{
    EXPECT_EQ(Root() + "/conf/2102351234-info.conf", m_reader->File("2102351234"));
    EXPECT_THAT(LinesOf("GetDeviceInfoCfgFile"),
                ElementsAre("1 Enter GetDeviceInfoCfgFile", "1 Program path is " + Root() + "/bin/agent",
                            "1 Config path is " + Root() + "/conf/2102351234-info.conf", "1 End GetDeviceInfoCfgFile"));
}

TEST_P(DeviceInfoPathTest, GetDeviceInfoCfgFileFollowsTheRunningProgram)
{
    m_programPath.reset();
    const boost::filesystem::path program = boost::filesystem::read_symlink("/proc/self/exe");
    EXPECT_EQ(program.parent_path().parent_path().string() + "/conf/DEV1-info.conf", m_reader->File(KEY));
    EXPECT_THAT(LinesOf("GetDeviceInfoCfgFile"), Contains("1 Program path is " + program.string()));
}

TEST_P(DeviceInfoPathTest, GetDeviceInfoCfgFileOfAProgramWithoutReadablePathIsBelowTheRoot)
{
    m_programPath.emplace(std::nullopt);
    EXPECT_EQ("/conf/DEV1-info.conf", m_reader->File(KEY));
    EXPECT_THAT(LinesOf("GetDeviceInfoCfgFile"), Contains("1 Program path is "));
}

TEST_P(DeviceInfoPathTest, GetDeviceInfoCfgFileReadsNoMoreThan1023BytesOfThePath)
{
    const std::string longPath = "/" + std::string(1100, 'p');
    m_programPath.emplace(longPath);
    m_reader->File(KEY);
    EXPECT_EQ(1023U, m_programPath->AskedBytes());
    EXPECT_THAT(LinesOf("GetDeviceInfoCfgFile"), Contains("1 Program path is " + longPath.substr(0, 1023)));
}

TEST_P(DeviceInfoPathTest, GetDeviceInfoCfgFileTakesARelativePathFromTheWorkingDirectory)
{
    m_programPath.emplace("bin/agent");
    EXPECT_EQ(boost::filesystem::current_path().string() + "/conf/DEV1-info.conf", m_reader->File(KEY));
}

TEST_P(DeviceInfoPathTest, GetDeviceInfoCfgFileWithoutAnAbsolutePathIsOneFileOfTheProductForAllArrays)
{
    m_programPath.emplace("bin/agent");
    m_productRoot.Set(Root());
    const DeletedWorkingDirectory nowhere;
    std::string cause;
    try {
        boost::filesystem::system_complete("bin/agent");
    } catch (const boost::filesystem::filesystem_error& error) {
        cause = error.what();
    }
    EXPECT_EQ(Root() + "/conf/deviceinfo.conf", m_reader->File(KEY));
    EXPECT_THAT(LinesOf("GetDeviceInfoCfgFile"),
                ElementsAre("1 Enter GetDeviceInfoCfgFile", "1 Program path is bin/agent", "4 " + cause,
                            "1 Config path is " + Root() + "/conf/deviceinfo.conf", "1 End GetDeviceInfoCfgFile"));
    ASSERT_THAT(m_productRoot.Calls(), SizeIs(1));
    EXPECT_EQ("DeviceSetOperator", m_productRoot.Calls().front().module);
    EXPECT_EQ(0U, m_productRoot.Calls().front().requestId);
}

struct LinesRow : NamedRow {
    std::string text;
    std::string content;
};

class DeviceInfoConfigTest : public DeviceInfoTest,
                             public ::testing::WithParamInterface<std::tuple<ReaderKind, LinesRow>> {
protected:
    const std::unique_ptr<InfoReader> m_reader = std::get<0>(GetParam()).make();
    const LinesRow& m_row = std::get<1>(GetParam());
};

template <typename Row>
std::string KindAndRow(const ::testing::TestParamInfo<std::tuple<ReaderKind, Row>>& row)
{
    return std::get<0>(row.param).name + std::get<1>(row.param).name;
}

TEST_P(DeviceInfoConfigTest, ReadConfigJoinsTheLinesWithoutTheirEnds)
{
    WriteFile(m_row.text);
    m_path = FilePath();
    EXPECT_TRUE(m_reader->ReadConfig(m_path, m_content));
    EXPECT_EQ(m_row.content, m_content);
    EXPECT_EQ(FilePath(), m_path);
    EXPECT_THAT(LinesOf("ReadConfig"), ElementsAre("1 Enter ReadConfig", "1 End ReadConfig"));
}

INSTANTIATE_TEST_SUITE_P(
    Of, DeviceInfoConfigTest,
    ::testing::Combine(BOTH_CLASSES,
                       ::testing::Values(LinesRow{{"OneLine"}, "{}", "{}"}, LinesRow{{"TwoLines"}, "a\nb\n", "ab"},
                                         LinesRow{{"NoLastLineEnd"}, "a\n b", "a b"},
                                         LinesRow{{"CarriageReturns"}, "a\r\nb\r\n", "a\rb\r"},
                                         LinesRow{{"ZeroByte"}, std::string("a\0b\n", 4), std::string("a\0b", 3)},
                                         LinesRow{{"Blank"}, " ", " "}, LinesRow{{"NoLine"}, "", "{}"},
                                         LinesRow{{"EmptyLines"}, "\n\n\n", "{}"})),
    KindAndRow<LinesRow>);

class DeviceInfoMissingConfigTest : public DeviceInfoPathTest {};
INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoMissingConfigTest, BOTH_CLASSES, RowName<ReaderKind>);

TEST_P(DeviceInfoMissingConfigTest, ReadConfigOfAMissingFileIsAnEmptyObject)
{
    m_path = FilePath();
    EXPECT_TRUE(m_reader->ReadConfig(m_path, m_content));
    EXPECT_EQ("{}", m_content);
}

TEST_P(DeviceInfoMissingConfigTest, ReadConfigOfAFolderIsAnEmptyObject)
{
    m_path = Root();
    EXPECT_TRUE(m_reader->ReadConfig(m_path, m_content));
    EXPECT_EQ("{}", m_content);
}

TEST_P(DeviceInfoMissingConfigTest, ReadConfigOfTheSetKeepsWhatTheContentHeld)
{
    m_path = FilePath();
    m_content = "left over\n";
    EXPECT_TRUE(m_reader->ReadConfig(m_path, m_content));
    EXPECT_EQ(GetParam().kept.empty() ? "{}" : GetParam().kept, m_content);
    WriteFile("a\nb\n");
    m_content = "left over\n";
    EXPECT_TRUE(m_reader->ReadConfig(m_path, m_content));
    EXPECT_EQ(GetParam().kept + "ab", m_content);
}

class DeviceInfoReadTest : public DeviceInfoPathTest {};
INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoReadTest, BOTH_CLASSES, RowName<ReaderKind>);

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonTellsTheRecordMemberByMember)
{
    WriteFile("{\"OTHER\": {\"HOSTID\": \"9\"},\n \"DEV1\": {\"HOSTNAME\": \"h\",\n\"HOSTID\": \"1\"}}\n");
    EXPECT_TRUE(m_reader->Read(KEY, m_info));
    EXPECT_THAT(m_info, ElementsAre(Pair("HOSTID", "1"), Pair("HOSTNAME", "h")));
    EXPECT_THAT(LinesOf("ReadInfoFromJson"),
                ElementsAre("1 begin read device info from Json .",
                            R"(1 config content:{"OTHER": {"HOSTID": "9"}, "DEV1": {"HOSTNAME": "h","HOSTID": "1"}})",
                            "1 key:HOSTID,value:1", "1 key:HOSTNAME,value:h", "1 read device info from Json finish."));
}

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonFindsTheFileBeforeItReadsIt)
{
    WriteFile("{}");
    m_reader->Read(KEY, m_info);
    EXPECT_THAT(Loggers(), ElementsAre("ReadInfoFromJson", "GetDeviceInfoCfgFile", "ReadConfig"));
}

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonLeavesWhatTheMapHolds)
{
    WriteRecord({{"HOSTID", "1"}, {"HOSTNAME", "h"}});
    m_info = {{"HOSTID", "kept"}, {"LUNGROUPID", "also kept"}};
    EXPECT_TRUE(m_reader->Read(KEY, m_info));
    EXPECT_THAT(m_info, ElementsAre(Pair("HOSTID", "kept"), Pair("HOSTNAME", "h"), Pair("LUNGROUPID", "also kept")));
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), Contains("1 key:HOSTID,value:1"));
}

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonWithoutAFileAddsNothing)
{
    EXPECT_TRUE(m_reader->Read(KEY, m_info));
    EXPECT_THAT(m_info, IsEmpty());
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), ElementsAre("1 begin read device info from Json .", "1 config content:{}",
                                                         "1 read device info from Json finish."));
}

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonHoldsTheFileLockWhileItReads)
{
    const DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    bool wasHeld = false;
    m_reader->m_onReadConfig = [&] { wasHeld = watch.IsHeld(); };
    EXPECT_TRUE(m_reader->Read(KEY, m_info));
    EXPECT_TRUE(wasHeld);
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
}

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonWithoutTheFileLockThrowsAndReadsNothing)
{
    WriteRecord({{"HOSTID", "1"}});
    DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    watch.Refuse();
    try {
        m_reader->Read(KEY, m_info);
        FAIL() << "nothing thrown";
    } catch (const boost::lock_error& error) {
        EXPECT_THAT(error.what(), StartsWith("boost: mutex lock failed in pthread_mutex_lock"));
    }
    EXPECT_THAT(m_info, IsEmpty());
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), ElementsAre("1 begin read device info from Json ."));
    EXPECT_THAT(LinesOf("ReadConfig"), IsEmpty());
}

TEST_P(DeviceInfoReadTest, ReadInfoFromJsonEndsAtAMemberWithoutATextAndGivesTheLockBack)
{
    WriteFile(R"({"DEV1": {"A": "1", "B": {}, "C": "3"}})");
    const DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    if (GetParam().name == SET_READER.name) {
        EXPECT_FALSE(m_reader->Read(KEY, m_info));
        ExpectFailureWithCause();
    } else {
        EXPECT_THROW(m_reader->Read(KEY, m_info), Json::LogicError);
    }
    EXPECT_THAT(m_info, ElementsAre(Pair("A", "1")));
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), Not(Contains(HasSubstr("finish"))));
}

struct TextRow : NamedRow {
    std::string text;
};

class DeviceInfoRowTest : public DeviceInfoTest, public ::testing::WithParamInterface<std::tuple<ReaderKind, TextRow>> {
protected:
    const std::unique_ptr<InfoReader> m_reader = std::get<0>(GetParam()).make();
    const std::string& m_text = std::get<1>(GetParam()).text;
};

class DeviceInfoMalformedTest : public DeviceInfoRowTest {};

TEST_P(DeviceInfoMalformedTest, ReadInfoFromJsonRefusesAFileThatIsNoJson)
{
    WriteFile(m_text);
    m_info = {{"HOSTID", "kept"}};
    EXPECT_FALSE(m_reader->Read(KEY, m_info));
    EXPECT_THAT(m_info, ElementsAre(Pair("HOSTID", "kept")));
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), ElementsAre("1 begin read device info from Json .",
                                                         "1 config content:" + m_text, "4 failed to change json."));
    EXPECT_TRUE(g_infoFileMutext.try_lock());
    g_infoFileMutext.unlock();
}

INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoMalformedTest,
                         ::testing::Combine(BOTH_CLASSES, ::testing::Values(TextRow{{"Blank"}, "  "},
                                                                            TextRow{{"Torn"}, R"({"DEV1": {"HOS)"},
                                                                            TextRow{{"NoJson"}, "HOSTID=1"})),
                         KindAndRow<TextRow>);

class DeviceInfoNothingTest : public DeviceInfoRowTest {};

TEST_P(DeviceInfoNothingTest, ReadInfoFromJsonAddsNothingWithoutARecord)
{
    WriteFile(m_text);
    EXPECT_TRUE(m_reader->Read(KEY, m_info));
    EXPECT_THAT(m_info, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoNothingTest,
                         ::testing::Combine(BOTH_CLASSES,
                                            ::testing::Values(TextRow{{"EmptyFile"}, ""},
                                                              TextRow{{"EmptyObject"}, "{}"}, TextRow{{"Null"}, "null"},
                                                              TextRow{{"NullRecord"}, R"({"DEV1": null})"},
                                                              TextRow{{"EmptyRecord"}, R"({"DEV1": {}})"},
                                                              TextRow{{"OtherRecord"}, R"({"DEV2": {"A": "1"}})"})),
                         KindAndRow<TextRow>);

class DeviceInfoShapeTest : public DeviceInfoRowTest {};

TEST_P(DeviceInfoShapeTest, ReadInfoFromJsonThrowsOrFailsWhereNoRecordCanBe)
{
    WriteFile(m_text);
    if (std::get<0>(GetParam()).name == SET_READER.name) {
        EXPECT_FALSE(m_reader->Read(KEY, m_info));
        ExpectFailureWithCause();
    } else {
        EXPECT_THROW(m_reader->Read(KEY, m_info), Json::LogicError);
    }
    EXPECT_THAT(m_info, IsEmpty());
    EXPECT_TRUE(g_infoFileMutext.try_lock());
    g_infoFileMutext.unlock();
}

INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoShapeTest,
                         ::testing::Combine(BOTH_CLASSES,
                                            ::testing::Values(TextRow{{"List"}, "[1]"},
                                                              TextRow{{"RecordIsAText"}, R"({"DEV1": "text"})"},
                                                              TextRow{{"MemberIsAList"}, R"({"DEV1": {"A": ["1"]}})"})),
                         KindAndRow<TextRow>);

struct ScalarRow : NamedRow {
    std::string json;
    std::string text;
};

class DeviceInfoScalarTest : public DeviceInfoTest,
                             public ::testing::WithParamInterface<std::tuple<ReaderKind, ScalarRow>> {};

TEST_P(DeviceInfoScalarTest, ReadInfoFromJsonTakesEveryScalarAsText)
{
    const auto& [kind, row] = GetParam();
    WriteFile(R"({"DEV1": {"A": )" + row.json + "}}");
    EXPECT_TRUE(kind.make()->Read(KEY, m_info));
    EXPECT_THAT(m_info, ElementsAre(Pair("A", row.text)));
    EXPECT_THAT(LinesOf("ReadInfoFromJson"), Contains("1 key:A,value:" + row.text));
}

INSTANTIATE_TEST_SUITE_P(Of, DeviceInfoScalarTest,
                         ::testing::Combine(BOTH_CLASSES, ::testing::Values(ScalarRow{{"Text"}, R"("a\"b")", "a\"b"},
                                                                            ScalarRow{{"EmptyText"}, R"("")", ""},
                                                                            ScalarRow{{"Number"}, "-12", "-12"},
                                                                            ScalarRow{{"Fraction"}, "1.5", "1.5"},
                                                                            ScalarRow{{"True"}, "true", "true"},
                                                                            ScalarRow{{"Null"}, "null", ""})),
                         KindAndRow<ScalarRow>);

class DeviceInfoRemoveTest : public DeviceInfoTest {
protected:
    bool Remove() { return DeviceInfoRecord::Remove(DeviceInfoRecord::SourceOf(m_device), KEY, m_problem); }

    DeviceOperate m_device;
    std::string m_problem;
};

TEST_F(DeviceInfoRemoveTest, RemoveOfTheOnlyRecordRemovesTheFile)
{
    WriteRecord({{"HOSTID", "1"}});
    const DeviceSystemCalls::LockWatch watch(g_infoFileMutext);
    EXPECT_TRUE(Remove());
    EXPECT_FALSE(boost::filesystem::exists(FilePath()));
    EXPECT_EQ(1, watch.Locks());
    EXPECT_FALSE(watch.IsHeld());
}

TEST_F(DeviceInfoRemoveTest, RemoveKeepsTheRecordsOfOtherArrays)
{
    WriteFile(R"({"A": {"HOSTID": "9"}, "DEV1": {"HOSTID": "1"}})");
    EXPECT_TRUE(Remove());
    EXPECT_EQ("{\n\t\"A\" : \n\t{\n\t\t\"HOSTID\" : \"9\"\n\t}\n}", FileText());
}

TEST_F(DeviceInfoRemoveTest, RemoveLeavesALinkAndRemovesWhatItLeadsTo)
{
    WriteRecord({{"HOSTID", "1"}});
    boost::filesystem::rename(FilePath(), Root() + "/record");
    boost::filesystem::create_symlink(Root() + "/record", FilePath());
    EXPECT_TRUE(Remove());
    EXPECT_FALSE(boost::filesystem::exists(Root() + "/record"));
    EXPECT_TRUE(boost::filesystem::is_symlink(FilePath()));
}

TEST_F(DeviceInfoRemoveTest, RemoveOfAFileThatIsNoneOfOursLeavesItAndSaysSo)
{
    for (const std::string text : {"[1]", "HOSTID=1"}) {
        WriteFile(text);
        EXPECT_FALSE(Remove());
        EXPECT_EQ(text, FileText());
        EXPECT_EQ(FilePath() + ": not a device record in JSON", m_problem);
    }
}

TEST_F(DeviceInfoRemoveTest, RemoveOfWhatIsNotThereIsDone)
{
    RemoveConfFolder();
    EXPECT_TRUE(Remove());
}

TEST_F(DeviceInfoRemoveTest, RemoveLeavesAFileThatMayNotBeWritten)
{
    constexpr uid_t SOMEBODY = 65534;
    const bool isRoot = ::geteuid() == 0; // who may do everything: the child becomes another user
    WriteRecord({{"HOSTID", "1"}});
    const std::string folder = boost::filesystem::path(FilePath()).parent_path().string();
    for (const std::string& path : {Root(), folder, FilePath()}) {
        ASSERT_TRUE(!isRoot || ::chown(path.c_str(), SOMEBODY, SOMEBODY) == 0) << path;
    }
    ASSERT_EQ(0, ::chmod(FilePath().c_str(), 0444));
    EXPECT_EQ(EACCES, InChild([&] {
                  const bool isSomebody = !isRoot || ::setuid(SOMEBODY) == 0;
                  return isSomebody && !Remove() && m_problem == FilePath() + ": Permission denied" ? EACCES : 0;
              }));
    EXPECT_EQ(Record({{"HOSTID", "1"}}), FileRecord());
}

TEST_F(DeviceInfoRemoveTest, RemoveFromWhatIsNoFileSaysWhyItCannot)
{
    const std::string pipe = Root() + "/pipe"; // that nobody reads
    ASSERT_EQ(0, mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR));
    const DeviceInfoRecord::Source source = {
        [&](const std::string&) { return pipe; },
        [](std::string&, std::string& content) { content = R"({"DEV1": {"HOSTID": "1"}})"; }};
    EXPECT_FALSE(DeviceInfoRecord::Remove(source, KEY, m_problem));
    EXPECT_EQ(pipe + ": No such device or address", m_problem);
    EXPECT_TRUE(boost::filesystem::exists(pipe));
}

} // namespace
