#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DEVICE_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DEVICE_TEST_H

#include "common/records.h"
#include "tests/fakes/fakes.h"
#include "tests/support/files.h"
#include "tests/unit/device/device_system_calls.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

class DeviceOperate;
class ZavMapInfo;

/// A node of its own for each test: an empty product folder, where the program seems to run as bin/agent and
/// device-information files lie in conf/.
class DeviceTest : public FakesTest {
protected:
    using Record = std::map<std::string, std::string>;

    static constexpr const char* KEY = "DEV1";
    static constexpr unsigned long REQUEST_ID = 77; // of the test's thread

    DeviceTest();
    ~DeviceTest() override;

    const std::string& Root() const { return m_folder.Path(); }
    std::string FilePath(const std::string& key = KEY) const;
    void WriteFile(const std::string& text, const std::string& key = KEY) const;

    /// The device's file holds `record`.
    void WriteRecord(const Record& record, const std::string& key = KEY) const;

    /// The file's bytes; empty when there is none.
    std::string FileText(const std::string& key = KEY) const;

    /// The device's record in its file; empty when there is none.
    Record FileRecord(const std::string& key = KEY) const;

    /// From now on no file can be written, and none is there.
    void RemoveConfFolder() const;

    /// "level text" of every line that `function` logged. Each must bear the module name of all device code, the code 0
    /// and the thread's request id.
    std::vector<std::string> LinesOf(const std::string& function) const;

    /// The names of the operations that logged anything, in the order of their first lines.
    std::vector<std::string> Loggers() const;

    /// A complete record: host 12, host group 5, LUN group 31 and mapping view 7.
    static Record CompleteRecord();
    static Zav::SessionInfo Session();

    /// The nine lists of `info` in their order, the entries of each joined by commas.
    static std::vector<std::string> Texts(const ZavMapInfo& info);

    /// What `device` holds in memory: host group id and name, host, LUN group, mapping view.
    static std::vector<std::string> Memory(DeviceOperate& device);

    std::optional<DeviceSystemCalls::ProgramPath> m_programPath;

private:
    const TemporaryFolder m_folder;
};

/// While it lives, the working directory is one that was deleted: relative paths lead nowhere.
class DeletedWorkingDirectory {
public:
    DeletedWorkingDirectory();
    DeletedWorkingDirectory(const DeletedWorkingDirectory&) = delete;
    DeletedWorkingDirectory& operator=(const DeletedWorkingDirectory&) = delete;
    ~DeletedWorkingDirectory();

private:
    std::string m_before;
};

#endif
