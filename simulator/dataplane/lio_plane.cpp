#include "simulator/dataplane/lio_plane.h"

#include "base/host_port.h"
#include "base/printable_text.h"
#include "simulator/dataplane/config_tree.h"
#include "simulator/dataplane/fc_fabric.h"
#include "simulator/dataplane/first_failure.h"

#include <iostream>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr unsigned int PORT = 3260;

std::string PortalOf(const std::string& address)
{
    return Base::HostAndPort(address, PORT);
}

void RequireTargetCore(const std::string& target)
{
    if (!ConfigTree::Exists(target)) {
        throw std::runtime_error("there is no " + target +
                                 ": the kernel's target is not there. It takes configfs mounted (mount -t configfs "
                                 "none /sys/kernel/config) and the module target_core_mod");
    }
}

} // namespace

LioPlane::LioPlane(const LioOptions& options, const LunFiles& files)
    : m_stores(options.configfs + "/target/core/fileio_0")
    , m_storePrefix("zavsim-" + options.serial + "-lun-")
    , m_fcTargets(options.fcTargets)
    , m_files(files)
{
    const std::string root = options.configfs + "/target";
    RequireTargetCore(root);
    const std::string iscsi = root + "/iscsi";
    const std::string fc = root + "/fc";
    for (const std::string& address : options.serviceAddresses) {
        m_targets.emplace_back(Kind::IscsiInitiator, iscsi + "/" + TargetName(address), PortalOf(address));
    }
    for (const std::string& port : options.fcTargets) {
        m_targets.emplace_back(Kind::FcInitiator, fc + "/" + WithColons(port), "");
    }
    if (!options.serviceAddresses.empty()) {
        ConfigTree::MakeFolder(iscsi);
    }
    if (!options.fcTargets.empty()) {
        ConfigTree::MakeFolder(fc);
    }
    ConfigTree::MakeFolder(m_stores);
    Close();
    try {
        for (const LioTarget& target : m_targets) {
            target.Open();
        }
    } catch (const std::exception&) {
        TakeBack([this] { Close(); });
        throw;
    }
}

LioPlane::~LioPlane()
{
    try {
        Close();
    } catch (const std::exception& error) {
        std::cerr << "zavsim: targets stay behind: " << Base::Printable(error.what()) << std::endl;
    }
}

void LioPlane::Apply(const Exports& exports)
{
    for (const LioTarget& target : m_targets) {
        target.Shrink(exports);
    }
    ShrinkStores(exports);
    for (const LioTarget& target : m_targets) {
        target.Grow(exports, [this](std::uint64_t lun) { return OpenStore(lun); });
    }
}

std::set<std::string> LioPlane::OnlineFcPorts() const
{
    return PortsSeenBy(m_fcTargets, "/sys/class");
}

std::string LioPlane::StoreFolder(std::uint64_t lun) const
{
    return m_stores + "/" + m_storePrefix + std::to_string(lun);
}

std::string LioPlane::OpenStore(std::uint64_t lun) const
{
    std::string folder = StoreFolder(lun);
    if (ConfigTree::Exists(folder)) {
        return folder;
    }
    const BackedLun backed = m_files.Open(lun);
    ConfigTree::MakeFolder(folder);
    try {
        ConfigTree::Write(folder + "/control",
                          "fd_dev_name=" + backed.file + ",fd_dev_size=" + std::to_string(backed.bytes));
        ConfigTree::Write(folder + "/enable", "1");
        ConfigTree::Write(folder + "/attrib/block_size", std::to_string(backed.sectorSize));
        // The kernel makes the LUN's name of a 6, the company's 24 bits, and the serial number's 25 digits.
        constexpr std::size_t COMPANY_DIGITS = 6;
        ConfigTree::Write(folder + "/wwn/company_id", "0x" + backed.wwn.substr(1, COMPANY_DIGITS));
        ConfigTree::Write(folder + "/wwn/vpd_unit_serial", backed.wwn.substr(1 + COMPANY_DIGITS));
    } catch (const std::exception&) {
        TakeBack([&folder] { ConfigTree::RemoveFolder(folder); }); // a half-made one must not be found the next time
        throw;
    }
    return folder;
}

void LioPlane::ShrinkStores(const Exports& exports) const
{
    std::set<std::string> wanted;
    for (const auto& entry : exports) {
        for (const auto& lun : entry.second) {
            wanted.insert(StoreFolder(lun.second));
        }
    }
    for (const std::string& store : ConfigTree::FoldersIn(m_stores, m_storePrefix)) {
        if (wanted.count(m_stores + "/" + store) == 0) {
            ConfigTree::RemoveFolder(m_stores + "/" + store);
        }
    }
}

void LioPlane::Close() const
{
    FirstFailure failure;
    for (const LioTarget& target : m_targets) {
        failure.Try([&target] { target.Close(); });
    }
    failure.Try([this] { ShrinkStores({}); });
    failure.Throw();
}

} // namespace ZavSim
