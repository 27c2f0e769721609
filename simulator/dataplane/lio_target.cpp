#include "simulator/dataplane/lio_target.h"

#include "simulator/dataplane/config_tree.h"
#include "simulator/dataplane/fc_fabric.h"

namespace ZavSim {

namespace {

constexpr const char* LUN_FOLDER = "lun_";
constexpr const char* LUN_LINK =
    "array-lun-"; // and the array's id of the LUN; what the kernel's links are called is free

std::string LinkName(std::uint64_t lun)
{
    return LUN_LINK + std::to_string(lun);
}

void RemoveLinkedFolder(const std::string& folder)
{
    if (const auto link = ConfigTree::LinkIn(folder)) {
        ConfigTree::Unlink(folder + "/" + *link);
    }
    ConfigTree::RemoveFolder(folder);
}

void WriteIfThere(const std::string& path, const std::string& value)
{
    if (ConfigTree::Exists(path)) {
        ConfigTree::Write(path, value);
    }
}

} // namespace

LioTarget::LioTarget(Kind initiators, std::string folder, std::string portal)
    : m_initiators(initiators)
    , m_folder(std::move(folder))
    , m_portal(std::move(portal))
{
}

std::string LioTarget::NameOf(const Initiator& initiator)
{
    return initiator.kind == Kind::FcInitiator ? WithColons(initiator.id) : initiator.id;
}

void LioTarget::Open() const
{
    ConfigTree::MakeFolder(m_folder);
    ConfigTree::MakeFolder(GroupFolder());
    if (m_portal.empty()) {
        return;
    }
    ConfigTree::Write(GroupFolder() + "/attrib/authentication", "0");
    ConfigTree::Write(GroupFolder() + "/attrib/generate_node_acls", "0");
    ConfigTree::Write(GroupFolder() + "/attrib/demo_mode_discovery", "0"); // nobody else finds it either
    ConfigTree::MakeFolder(GroupFolder() + "/np/" + m_portal);
    ConfigTree::Write(GroupFolder() + "/enable", "1");
}

void LioTarget::Shrink(const Exports& exports) const
{
    std::map<std::string, LunTable> wanted; // by the name of the access entry
    std::set<std::uint64_t> wantedLuns;
    for (const auto& [initiator, luns] : exports) {
        if (initiator.kind == m_initiators) {
            wanted[NameOf(initiator)] = luns;
            for (const auto& entry : luns) {
                wantedLuns.insert(entry.second);
            }
        }
    }
    for (const std::string& access : ConfigTree::FoldersIn(GroupFolder() + "/acls", "")) {
        const auto found = wanted.find(access);
        ShrinkAccess(access, found == wanted.end() ? LunTable() : found->second);
        if (found == wanted.end()) {
            ConfigTree::RemoveFolder(AccessFolder(access));
        }
    }
    ShrinkLuns(wantedLuns);
}

void LioTarget::ShrinkAccess(const std::string& access, const LunTable& wanted) const
{
    for (const std::string& folder : ConfigTree::FoldersIn(AccessFolder(access), LUN_FOLDER)) {
        const auto number = ParseNumber(folder.substr(std::string(LUN_FOLDER).size()));
        const auto found = number ? wanted.find(static_cast<LunNumber>(*number)) : wanted.end();
        const std::string path = AccessFolder(access) + "/" + folder;
        if (found == wanted.end() || ConfigTree::LinkIn(path) != LinkName(found->second)) {
            RemoveLinkedFolder(path);
        }
    }
}

void LioTarget::ShrinkLuns(const std::set<std::uint64_t>& wanted) const
{
    const std::string luns = GroupFolder() + "/lun";
    for (const std::string& folder : ConfigTree::FoldersIn(luns, LUN_FOLDER)) {
        const auto lun = ParseNumber(folder.substr(std::string(LUN_FOLDER).size()));
        if (!lun || wanted.count(*lun) == 0) {
            RemoveLinkedFolder(luns + "/" + folder);
        }
    }
}

void LioTarget::AddInitiator(const Initiator& initiator) const
{
    ConfigTree::MakeFolder(AccessFolder(NameOf(initiator)));
}

void LioTarget::AddLun(std::uint64_t lun, const std::string& store) const
{
    ConfigTree::MakeFolder(LunFolder(lun));
    ConfigTree::Link(store, LunFolder(lun) + "/" + LinkName(lun));
}

void LioTarget::MapLun(const Initiator& initiator, LunNumber number, std::uint64_t lun) const
{
    const std::string folder = AccessFolder(NameOf(initiator)) + "/" + LUN_FOLDER + std::to_string(number);
    ConfigTree::MakeFolder(folder);
    ConfigTree::Link(LunFolder(lun), folder + "/" + LinkName(lun));
}

void LioTarget::Close() const
{
    if (!ConfigTree::Exists(m_folder)) {
        return;
    }
    if (!m_portal.empty()) {
        WriteIfThere(GroupFolder() + "/enable", "0");
    }
    Shrink({});
    if (!m_portal.empty()) {
        ConfigTree::RemoveFolder(GroupFolder() + "/np/" + m_portal);
    }
    ConfigTree::RemoveFolder(GroupFolder());
    ConfigTree::RemoveFolder(m_folder);
}

} // namespace ZavSim
