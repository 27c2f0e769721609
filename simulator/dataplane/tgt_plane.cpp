#include "simulator/dataplane/tgt_plane.h"

#include "base/printable_text.h"
#include "simulator/dataplane/first_failure.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace ZavSim {

namespace {

// FNV-1a of the initiator's name: the target keeps its name over a restart, so that node records stay good.
std::string NameFor(const std::string& address, const std::string& initiator)
{
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char c : initiator) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(hash));
    return TargetName(address) + ":" + text;
}

bool Contains(const LunTable& table, LunNumber number, std::uint64_t lun)
{
    const auto found = table.find(number);
    return found != table.end() && found->second == lun;
}

} // namespace

TgtPlane::TgtPlane(const std::vector<TgtPortal>& portals, const LunFiles& files)
    : m_files(files)
{
    for (const TgtPortal& portal : portals) {
        m_portals.push_back({portal.address, TgtDaemon(portal.socket), {}, 0});
        RemoveOurs(m_portals.back());
    }
    try {
        for (Portal& portal : m_portals) { // not before all have answered
            AddAnchor(portal);
        }
    } catch (const std::exception&) {
        TakeBack([this] { RemoveAllOurs(); });
        throw;
    }
}

TgtPlane::~TgtPlane()
{
    try {
        RemoveAllOurs();
    } catch (const std::exception& error) {
        std::cerr << "zavsim: targets stay behind: " << Base::Printable(error.what()) << std::endl;
    }
}

void TgtPlane::RemoveAllOurs()
{
    FirstFailure failure;
    for (Portal& portal : m_portals) {
        failure.Try([&portal] { RemoveOurs(portal); });
    }
    failure.Throw();
}

void TgtPlane::RemoveOurs(Portal& portal)
{
    FirstFailure failure;
    const std::string begin = TargetName(portal.address) + ":";
    for (const auto& [number, name] : portal.daemon.ListTargets()) {
        if (name.rfind(begin, 0) == 0) {
            failure.Try([&portal, target = number] { portal.daemon.RemoveTarget(target); });
        }
        portal.lastNumber = std::max(portal.lastNumber, number);
    }
    failure.Throw();
}

/// A tgtd without any target lets nobody in who asks what there is, so there is always one, which nobody sees.
void TgtPlane::AddAnchor(Portal& portal)
{
    ++portal.lastNumber;
    portal.daemon.AddTarget(portal.lastNumber, TargetName(portal.address) + ":anchor");
}

void TgtPlane::Apply(const Exports& exports)
{
    for (Portal& portal : m_portals) {
        RemoveTargets(portal, exports);
        for (const auto& [initiator, luns] : exports) {
            if (initiator.kind == Kind::IscsiInitiator) {
                ApplyLuns(portal, OpenTarget(portal, initiator), luns);
            }
        }
    }
}

void TgtPlane::RemoveTargets(Portal& portal, const Exports& wanted)
{
    for (auto target = portal.targets.begin(); target != portal.targets.end();) {
        if (wanted.count(target->first) != 0) {
            ++target;
            continue;
        }
        portal.daemon.RemoveTarget(target->second.number);
        target = portal.targets.erase(target);
    }
}

TgtPlane::Target& TgtPlane::OpenTarget(Portal& portal, const Initiator& initiator) const
{
    const auto found = portal.targets.find(initiator);
    if (found != portal.targets.end()) {
        return found->second;
    }
    const int number = portal.lastNumber + 1;
    portal.daemon.AddTarget(number, NameFor(portal.address, initiator.id));
    try {
        portal.daemon.Bind(number, initiator.id);
    } catch (const std::exception&) {
        TakeBack([&] { portal.daemon.RemoveTarget(number); });
        throw;
    }
    portal.lastNumber = number;
    return portal.targets.emplace(initiator, Target{number, {}}).first->second;
}

void TgtPlane::ApplyLuns(const Portal& portal, Target& target, const LunTable& wanted) const
{
    const LunTable there = target.luns;
    for (const auto& [number, lun] : there) {
        if (!Contains(wanted, number, lun)) {
            portal.daemon.RemoveLun(target.number, number);
            target.luns.erase(number);
        }
    }
    for (const auto& [number, lun] : wanted) {
        if (!Contains(target.luns, number, lun)) {
            portal.daemon.AddLun(target.number, number, m_files.Open(lun));
            target.luns[number] = lun;
        }
    }
}

} // namespace ZavSim
