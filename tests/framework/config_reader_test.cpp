#include "common/framework/config_reader.h"

#include "common/framework/product_root.h"

#include "tests/framework/support/framework_test.h"
#include "tests/framework/support/probe.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

int Interval()
{
    return ConfigReader::getInt("BackupNode", "DosRequestInterval", true);
}

class ConfigReaderTest : public FrameworkTest {
protected:
    /// The effective value that check reports.
    static std::string Value(const std::string& section, const std::string& key)
    {
        std::vector<ConfigReader::Setting> settings;
        ConfigReader::check(settings);
        for (const ConfigReader::Setting& setting : settings) {
            if (setting.section == section && setting.key == key) {
                return setting.value;
            }
        }
        ADD_FAILURE() << "no setting [" << section << "] " << key;
        return {};
    }

    static std::vector<std::string> Problems()
    {
        std::vector<ConfigReader::Setting> settings;
        return ConfigReader::check(settings);
    }

    std::string WithLog(const std::string& text) const
    {
        return "[Product]\nRoot=" + InRoot("") + "\n[Log]\nFile=log/test.log\n" + text;
    }
};

TEST_F(ConfigReaderTest, KeysThatTheFileDoesNotHoldHaveTheirDefaults)
{
    EXPECT_EQ(1, ConfigReader::getInt("BackupNode", "DosRequestInterval", true));
    EXPECT_EQ(100, ConfigReader::getInt("BackupNode", "DosRequestCount", true));
    EXPECT_EQ(3, ConfigReader::getInt("BackupNode", "TestNetTimeOut", true));
    EXPECT_THAT(ConfigReader::getNerovaxDiskArrayNotRetryErrorCode(), IsEmpty());
    EXPECT_THAT(LogLines(), IsEmpty());
}

TEST_F(ConfigReaderTest, MissingFileMeansDefaults)
{
    std::filesystem::remove(ConfigPath());
    EXPECT_EQ(100, ConfigReader::getInt("BackupNode", "DosRequestCount", true));
    EXPECT_THAT(Problems(), IsEmpty());
}

TEST_F(ConfigReaderTest, DefaultIsToldToWhoAsksForIt)
{
    ConfigReader::getInt("BackupNode", "DosRequestCount", false);
    EXPECT_THAT(LogTexts("2"), ElementsAre("[BackupNode] DosRequestCount has its default, 100."));
}

TEST_F(ConfigReaderTest, NameThatIsNoNumberOfTheConfigurationIsAnErrorAndZero)
{
    EXPECT_EQ(0, ConfigReader::getInt("BackupNode", "NoSuchKey", true));
    EXPECT_EQ(0, ConfigReader::getInt("Log", "File", true));
    EXPECT_THAT(LogTexts("4"), ElementsAre("[BackupNode] NoSuchKey is no whole number of the configuration.",
                                           "[Log] File is no whole number of the configuration."));
}

TEST_F(ConfigReaderTest, NumberBeyondAnIntIsTheLargestInt)
{
    Configure({{"Http", {{"MaxBodyBytes", "4294967296"}}}});
    EXPECT_EQ(2147483647, ConfigReader::getInt("Http", "MaxBodyBytes", true));
}

TEST_F(ConfigReaderTest, NotRetryCodesAreTheListOfTheFile)
{
    Configure({{"BackupNode", {{"NotRetryErrorCodes", "1090519061, -1,\t1090519070,-1"}}}});
    EXPECT_THAT(ConfigReader::getNerovaxDiskArrayNotRetryErrorCode(), ElementsAre(-1, 1090519061, 1090519070));
}

TEST_F(ConfigReaderTest, RepeatedChangesOfTheSameLengthAreAllSeen)
{
    // All within one tick of the file system's clock, in the same file, with the same size.
    for (int value = 100; value < 200; ++value) {
        WriteConfig("[BackupNode]\nDosRequestInterval=" + std::to_string(value) + "\n");
        ASSERT_EQ(value, Interval());
    }
}

TEST_F(ConfigReaderTest, ReplacedFileIsSeenEvenWithTheOldTimes)
{
    WriteConfig("[BackupNode]\nDosRequestInterval=5\n");
    EXPECT_EQ(5, Interval());
    const auto time = std::filesystem::last_write_time(ConfigPath());
    WriteText(InRoot("new.ini"), "[BackupNode]\nDosRequestInterval=6\n");
    std::filesystem::last_write_time(InRoot("new.ini"), time);
    std::filesystem::rename(InRoot("new.ini"), ConfigPath());
    EXPECT_EQ(6, Interval());
}

TEST_F(ConfigReaderTest, RemovedFileMeansDefaultsAgain)
{
    WriteConfig("[BackupNode]\nDosRequestInterval=5\n");
    EXPECT_EQ(5, Interval());
    std::filesystem::remove(ConfigPath());
    EXPECT_EQ(1, Interval());
}

TEST_F(ConfigReaderTest, MalformedFileIsToldOnceAndTheLastGoodValuesHold)
{
    WriteConfig(WithLog("[BackupNode]\nDosRequestInterval=5\n"));
    EXPECT_EQ(5, Interval());
    WriteConfig(WithLog("[BackupNode]\nDosRequestInterval 6\n"));
    EXPECT_EQ(5, Interval());
    EXPECT_EQ(5, Interval());
    EXPECT_THAT(LogTexts("4"), ElementsAre(ConfigPath() + ", line 6: '=' character not found in line"));

    WriteConfig(WithLog("\n[BackupNode\nDosRequestInterval=7\n"));
    EXPECT_EQ(5, Interval());
    EXPECT_THAT(LogTexts("4"), SizeIs(2));
    EXPECT_THAT(LogTexts("4").back(), HasSubstr(", line 6: unmatched '['"));

    WriteConfig(WithLog("[BackupNode]\nDosRequestInterval=8\n"));
    EXPECT_EQ(8, Interval());
    EXPECT_THAT(LogTexts("4"), SizeIs(2));
}

TEST_F(ConfigReaderTest, FileThatIsMalformedFromTheBeginningMeansDefaults)
{
    WriteConfig("no configuration at all");
    const Base::ProgramResult result =
        RunToEnd({ProbePath(), "int", "BackupNode", "DosRequestCount"}, {"PRODUCT_STORAGE_LOG_CONSOLE=4"});
    EXPECT_EQ("100\n", result.output);
    EXPECT_EQ("error: " + ConfigPath() + ", line 1: '=' character not found in line (LogProblems)\n", result.errors);
}

TEST_F(ConfigReaderTest, FileThatCannotBeReadFromTheBeginningMeansDefaults)
{
    std::filesystem::remove(ConfigPath());
    std::filesystem::create_directory(ConfigPath());
    const Base::ProgramResult result =
        RunToEnd({ProbePath(), "int", "BackupNode", "DosRequestCount"}, {"PRODUCT_STORAGE_LOG_CONSOLE=4"});
    EXPECT_EQ("100\n", result.output);
    EXPECT_EQ("error: " + ConfigPath() + " cannot be read: Is a directory (LogProblems)\n", result.errors);
    std::filesystem::remove(ConfigPath());
}

TEST_F(ConfigReaderTest, MalformedValueIsToldOnceAndItsDefaultHolds)
{
    Configure({{"BackupNode", {{"DosRequestInterval", "five"}, {"DosRequestCount", "7"}}}});
    EXPECT_EQ(1, Interval());
    EXPECT_EQ(1, Interval());
    EXPECT_EQ(7, ConfigReader::getInt("BackupNode", "DosRequestCount", true));
    EXPECT_THAT(LogTexts("4"),
                ElementsAre(ConfigPath() + ": [BackupNode] DosRequestInterval = \"five\" is no whole number from 0 to "
                                           "2147483647 (seconds that must pass after a request to an array for the "
                                           "next one to start a new burst); the default \"1\" holds"));
}

TEST_F(ConfigReaderTest, EveryMalformedKindOfValueIsAProblem)
{
    const std::vector<Settings> malformed = {
        {{"BackupNode", {{"DosRequestInterval", ""}}}},
        {{"BackupNode", {{"DosRequestInterval", "-1"}}}},
        {{"BackupNode", {{"DosRequestInterval", "1.5"}}}},
        {{"BackupNode", {{"DosRequestInterval", "+1"}}}},
        {{"BackupNode", {{"DosRequestInterval", "1 ; no"}}}},
        {{"BackupNode", {{"DosRequestInterval", "2147483648"}}}},
        {{"BackupNode", {{"NotRetryErrorCodes", "1,,2"}}}},
        {{"BackupNode", {{"NotRetryErrorCodes", "1 2"}}}},
        {{"Http", {{"VerifyPeer", "maybe"}}}},
        {{"Http", {{"VerifyPeer", ""}}}},
        {{"Log", {{"Level", "5"}}}},
        {{"Shell", {{"TimeoutSeconds", "0"}}}},
    };
    for (const Settings& settings : malformed) {
        Configure(settings);
        EXPECT_THAT(Problems(), ElementsAre(HasSubstr("; the default \""))) << settings.begin()->second.begin()->second;
    }
}

// An empty folder in a search path would be the working directory, where anybody may have put an iscsiadm.
TEST_F(ConfigReaderTest, SearchPathHasNoEmptyFolder)
{
    WriteConfig("[Product]\nRoot = /opt\n[Shell]\nPath = ::/usr/local/bin::tools:\n");
    EXPECT_THAT(Problems(), testing::IsEmpty());
    EXPECT_EQ("/usr/local/bin:/opt/tools", Value("Shell", "Path"));
    WriteConfig("[Shell]\nPath = :\n");
    EXPECT_THAT(Problems(), testing::IsEmpty());
    EXPECT_EQ("", Value("Shell", "Path"));
}

TEST_F(ConfigReaderTest, SearchPathMayHaveBlanksAroundItsColons)
{
    WriteConfig("[Product]\nRoot = /opt\n[Shell]\nPath = /usr/local/bin : tools\t: : /my tools\n");
    EXPECT_THAT(Problems(), testing::IsEmpty());
    EXPECT_EQ("/usr/local/bin:/opt/tools:/my tools", Value("Shell", "Path"));
}

TEST_F(ConfigReaderTest, SearchPathRelativeToARootWithAColonIsAProblem)
{
    WriteConfig("[Product]\nRoot = /opt/a:b\n[Shell]\nPath = /usr/bin:tools\n");
    EXPECT_THAT(Problems(), ElementsAre(HasSubstr("[Shell] Path = \"/usr/bin:tools\" is relative to the root /opt/a:b, "
                                                  "whose colon cannot stand in a list of paths")));
    EXPECT_EQ("", Value("Shell", "Path"));
    WriteConfig("[Product]\nRoot = /opt/a:b\n[Shell]\nPath = /usr/bin\n");
    EXPECT_THAT(Problems(), testing::IsEmpty());
}

TEST_F(ConfigReaderTest, CheckNamesAllThatIsUnknown)
{
    WriteConfig("Stray=1\n[Backupnode]\nDosRequestInterval=1\n[Http]\nverifypeer=true\n");
    EXPECT_THAT(Problems(), ElementsAre(ConfigPath() + ": \"Stray\" stands outside of any section",
                                        ConfigPath() + ": unknown section [Backupnode]",
                                        ConfigPath() + ": [Http] verifypeer is no setting"));
}

TEST_F(ConfigReaderTest, CheckNamesTheLineOfASyntaxErrorAndOfADoubleKey)
{
    WriteConfig("[Log]\nLevel\n");
    EXPECT_THAT(Problems(), ElementsAre(ConfigPath() + ", line 2: '=' character not found in line"));
    WriteConfig("[Log]\nLevel=1\nLevel=2\n");
    EXPECT_THAT(Problems(), ElementsAre(ConfigPath() + ", line 3: duplicate key name"));
}

TEST_F(ConfigReaderTest, CheckNamesAFileThatCannotBeRead)
{
    std::filesystem::remove(ConfigPath());
    std::filesystem::create_directory(ConfigPath());
    EXPECT_THAT(Problems(), ElementsAre(ConfigPath() + " cannot be read: Is a directory"));
    EXPECT_EQ("100", Value("BackupNode", "DosRequestCount"));
    std::filesystem::remove(ConfigPath());
}

TEST_F(ConfigReaderTest, FileThatCannotBeReadIsToldOnceAndTheLastGoodValuesHold)
{
    WriteConfig(WithLog("[BackupNode]\nDosRequestInterval=5\n"));
    EXPECT_EQ(5, Interval());
    std::filesystem::remove(ConfigPath());
    std::filesystem::create_directory(ConfigPath());
    EXPECT_EQ(5, Interval());
    EXPECT_EQ(5, Interval());
    EXPECT_THAT(LogTexts("4"), ElementsAre(ConfigPath() + " cannot be read: Is a directory"));
    std::filesystem::remove(ConfigPath());
}

TEST_F(ConfigReaderTest, CheckNamesTrustedFilesThatAreNotThere)
{
    Configure({{"Http", {{"CaFile", "conf/no.pem"}}}, {"Cert", {{"TrustStore", "/no/store"}}}});
    EXPECT_THAT(
        Problems(),
        ElementsAre(ConfigPath() + ": [Http] CaFile names " + InRoot("conf/no.pem") + ": No such file or directory",
                    ConfigPath() + ": [Cert] TrustStore names /no/store: No such file or directory"));
}

TEST_F(ConfigReaderTest, CheckReportsEverySettingWithItsEffectiveValue)
{
    Configure({{"Shell", {{"Path", "tools:/opt/bin"}}}, {"Log", {{"Level", "9"}}}});
    std::vector<ConfigReader::Setting> settings = {{"left", "over", "", false}};
    EXPECT_THAT(ConfigReader::check(settings), SizeIs(1));
    EXPECT_THAT(settings, SizeIs(19));
    EXPECT_EQ(InRoot("tools") + ":/opt/bin", Value("Shell", "Path"));
    EXPECT_EQ("1", Value("Log", "Level"));
    for (const ConfigReader::Setting& setting : settings) {
        const bool isNamed = setting.section == "Product" || setting.key == "Path" || setting.key == "File";
        EXPECT_EQ(!isNamed, setting.isDefault) << setting.key;
    }
}

TEST_F(ConfigReaderTest, RelativePathsAreMeantFromTheRoot)
{
    Configure({{"Log", {{"File", "logs/a.log"}}}, {"Security", {{"KeyFile", "/etc/key"}}}});
    EXPECT_EQ(InRoot("logs/a.log"), Value("Log", "File"));
    EXPECT_EQ("/etc/key", Value("Security", "KeyFile"));
    EXPECT_EQ(InRoot("conf/alerts"), Value("Cert", "AlertDir"));
    EXPECT_EQ("", Value("Http", "CaFile"));
}

TEST_F(ConfigReaderTest, FileIsTheOneOfTheEnvironmentElseTheProducts)
{
    EXPECT_EQ(ConfigPath(), ConfigReader::getFile());
    const std::filesystem::path probe = InRoot("bin/probe");
    std::filesystem::create_directories(probe.parent_path());
    std::filesystem::copy_file(ProbePath(), probe);
    const Base::ProgramResult result = RunToEnd({"/usr/bin/env", "-u", "PRODUCT_STORAGE_CONFIG", probe, "config-file"});
    EXPECT_EQ(InRoot("conf/backupnode.ini") + "\n", result.output);
}

TEST_F(ConfigReaderTest, ManyThreadsReadWhileTheFileChanges)
{
    std::atomic<bool> isOver = false;
    std::atomic<int> wrong = 0;
    WriteConfig("[BackupNode]\nDosRequestInterval=5\nDosRequestCount=5\n");
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            while (!isOver) {
                const int value = Interval();
                wrong += value >= 5 && value < 105 ? 0 : 1;
            }
        });
    }
    for (int value = 5; value < 105; ++value) {
        // Replaced at once, so that no thread meets half a file.
        const std::string text = "[BackupNode]\nDosRequestInterval=" + std::to_string(value) + "\n";
        WriteText(InRoot("conf/next.ini"), text);
        std::filesystem::rename(InRoot("conf/next.ini"), ConfigPath());
        EXPECT_EQ(value, Interval());
    }
    isOver = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0, wrong);
}

TEST_F(ConfigReaderTest, RootIsTheConfiguredOneElseTheDirectoryAboveTheExecutables)
{
    EXPECT_EQ(InRoot("").substr(0, InRoot("").size() - 1), GetVendrixRootPath("Test", 0));
    Configure({{"Product", {{"Root", InRoot("elsewhere//")}}}});
    EXPECT_EQ(InRoot("elsewhere"), GetVendrixRootPath("Test", 0));
    WriteConfig("[Product]\nRoot=\n");
    EXPECT_EQ(std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path().string(),
              GetVendrixRootPath("Test", 0));
}

} // namespace
