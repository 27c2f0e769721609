#include "common/framework/config_reader.h"

#include "tests/framework/support/framework_test.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <string>
#include <vector>

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

const std::string SHIPPED_FILE = SOURCE_DIRECTORY "/conf/backupnode.ini";
const std::string CONFIGURATION_PAGE = SOURCE_DIRECTORY "/docs/configuration.md";

/// The shipped configuration file and the page about it, against what the library itself reports.
class ConfigurationDocumentsTest : public FrameworkTest {
protected:
    std::vector<ConfigReader::Setting> Defaults() const
    {
        WriteConfig("");
        std::vector<ConfigReader::Setting> settings;
        EXPECT_THAT(ConfigReader::check(settings), IsEmpty());
        return settings;
    }
};

TEST_F(ConfigurationDocumentsTest, ShippedFileHoldsNoProblem)
{
    WriteConfig(ReadText(SHIPPED_FILE));
    std::vector<ConfigReader::Setting> settings;
    EXPECT_THAT(ConfigReader::check(settings), IsEmpty());
}

TEST_F(ConfigurationDocumentsTest, ShippedFileNamesEverySettingWithItsDefault)
{
    const std::vector<ConfigReader::Setting> defaults = Defaults();
    WriteConfig(ReadText(SHIPPED_FILE));
    std::vector<ConfigReader::Setting> shipped;
    ConfigReader::check(shipped);
    ASSERT_EQ(defaults.size(), shipped.size());
    for (std::size_t index = 0; index < defaults.size(); ++index) {
        EXPECT_FALSE(shipped[index].isDefault) << shipped[index].key;
        EXPECT_EQ(defaults[index].value, shipped[index].value) << shipped[index].key;
    }
}

TEST_F(ConfigurationDocumentsTest, PageTellsEverySettingWithItsDefault)
{
    const std::string page = ReadText(CONFIGURATION_PAGE);
    boost::property_tree::ptree shipped;
    boost::property_tree::read_ini(SHIPPED_FILE, shipped);
    std::size_t position = 0;
    for (const ConfigReader::Setting& setting : Defaults()) {
        const auto value = shipped.get_child(setting.section).get<std::string>(setting.key);
        const std::string row = "| `" + setting.key + "` | " + (value.empty() ? "empty" : "`" + value + "`") + " |";
        const std::size_t section = page.find("## [" + setting.section + "]");
        ASSERT_NE(std::string::npos, section) << setting.section;
        position = page.find(row, section);
        EXPECT_LT(position, page.find("\n## ", section + 1)) << row;
    }
    EXPECT_THAT(page, HasSubstr("PRODUCT_STORAGE_CONFIG"));
    EXPECT_THAT(page, HasSubstr("PRODUCT_STORAGE_LOG_CONSOLE"));
}

} // namespace
