#include "device/device_operate.h"
#include "device/device_set_operator.h"
#include "tests/unit/device/device_test.h"

#include <array>
#include <random>

namespace {

/// All arrays in one file, as where the program's folder cannot be found.
class SharedFileDevice : public DeviceOperate {
public:
    explicit SharedFileDevice(std::string path)
        : m_path(std::move(path))
    {
    }

    std::string GetDeviceInfoCfgFile(const std::string& /*key*/) override { return m_path; }

private:
    const std::string m_path;
};

/// Device-information files and, beside them, a map of maps that says what they hold. What is written is drawn from one
/// seed.
class DeviceInfoPropertyTest : public DeviceTest, public ::testing::WithParamInterface<unsigned int> {
protected:
    static constexpr int STEPS = 300;

    int Draw(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_generator); }

    template <typename Texts>
    std::string DrawFrom(const Texts& texts)
    {
        return texts[static_cast<std::size_t>(Draw(static_cast<int>(std::size(texts))))];
    }

    // What names and ids hold, and what JSON or a file of lines could trip over.
    std::string DrawText()
    {
        static const std::array<const char*, 16> PIECES = {
            "Vendrix_a",      "7",    "",  "\"",    "\\",       "\n",    "\r\n", "\t",
            "{\"DEV1\": {}}", "// c", "'", ";2100", "\x01\x1f", "Größe", "大小", "\xf0\x9f\x92\xbe"};
        std::string text;
        for (int left = Draw(4); left > 0; --left) {
            text += DrawFrom(PIECES);
        }
        return Draw(20) == 0 ? text + std::string(1, '\0') + std::string(5000, 'x') : text;
    }

    Record DrawRecord()
    {
        static const std::array<const char*, 6> NAMES = {"HOSTID", "HOSTNAME", "MAPVIEWID", "", "a \"name\"\n", "é"};
        Record record;
        for (int left = Draw(4); left > 0; --left) {
            record[DrawFrom(NAMES)] = DrawText();
        }
        return record;
    }

    std::string DrawKey()
    {
        static const std::array<const char*, 3> KEYS = {"DEV1", "DEV2", "2102.350-Z"};
        return DrawFrom(KEYS);
    }

    // Writes, or reads what must be there, on top of what the caller has.
    template <typename Reader>
    void Step(DeviceOperate& writer, Reader& reader)
    {
        const std::string key = DrawKey();
        Record record = DrawRecord();
        if (Draw(2) == 0) {
            Record written = record;
            ASSERT_TRUE(writer.WriteInfoToJson(key, written));
            ASSERT_EQ(record, written);
            for (const auto& [name, value] : record) {
                m_model[key][name] = value;
            }
            return;
        }
        Record expected = record;
        expected.insert(m_model[key].begin(), m_model[key].end());
        ASSERT_TRUE(reader.ReadInfoFromJson(key, record));
        ASSERT_EQ(expected, record);
    }

    std::mt19937 m_generator{GetParam()};
    std::map<std::string, Record> m_model;
};

class SetReader : public DeviceSetOperator {};

TEST_P(DeviceInfoPropertyTest, ReadInfoFromJsonGivesBackWhatWriteInfoToJsonMerged)
{
    DeviceOperate device;
    SetReader set;
    for (int step = 0; step < STEPS; ++step) {
        m_log.Clear();
        ASSERT_NO_FATAL_FAILURE(Draw(2) == 0 ? Step(device, device) : Step(device, set)) << "step " << step;
    }
}

TEST_P(DeviceInfoPropertyTest, ASharedFileHoldsEachArraysMembersApart)
{
    SharedFileDevice device(Root() + "/conf/deviceinfo.conf");
    for (int step = 0; step < STEPS; ++step) {
        m_log.Clear();
        ASSERT_NO_FATAL_FAILURE(Step(device, device)) << "step " << step;
    }
}

INSTANTIATE_TEST_SUITE_P(Seed, DeviceInfoPropertyTest, ::testing::Values(1U, 2U, 20240229U),
                         ::testing::PrintToStringParamName());

} // namespace
