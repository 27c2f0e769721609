#ifndef TESTS_SIMULATOR_SUPPORT_ISCSI_DISK_H
#define TESTS_SIMULATOR_SUPPORT_ISCSI_DISK_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct iscsi_context;

namespace ZavSimTest {

/// A session of an initiator with a target, by way of libiscsi, and the disks that it sees. Failures fail the test,
/// but for that of the login. Commands are for sessions that stand: libiscsi loses their memory on one that was cut.
class IscsiDisk {
public:
    IscsiDisk(const std::string& initiator, const std::string& address, const std::string& target);
    ~IscsiDisk();
    IscsiDisk(IscsiDisk&&) = default;

    bool IsLoggedIn() const { return m_isLoggedIn; }

    /// Whether the target ends the session within ten seconds.
    bool AwaitCut() const;

    /// The numbers of the LUNs, 0 included.
    std::vector<int> ReportLuns();

    struct Shape {
        std::uint64_t sectors = 0;
        std::uint32_t sectorSize = 0;
        std::string serial;
        std::string designators; ///< all texts of the device identification page
    };
    Shape Describe(int lun);

    void Write(int lun, std::uint32_t sector, const std::string& bytes);
    std::string Read(int lun, std::uint32_t sector, std::size_t size);

private:
    std::unique_ptr<iscsi_context, int (*)(iscsi_context*)> m_context;
    bool m_isLoggedIn = false;
};

} // namespace ZavSimTest

#endif
