#include "simulator/dataplane/tgt_plane.h"

#include "base/printable_text.h"
#include "simulator/array/stable_hash.h"
#include "simulator/dataplane/first_failure.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace ZavSim {

namespace {

// The target keeps its name over a restart, so that node records stay good.
std::string NameFor(const std::string& address, const std::string& initiator)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(StableHash(initiator)));
    return TargetName(address) + ":" + text;
}

bool Contains(const LunTable& table, LunNumber number, std::uint64_t lun)
{
    const auto found = table.find(number);
    return found != table.end() && found->second == lun;
}

std::string AnchorName(const std::string& address)
{
    return TargetName(address) + ":anchor";
}

} // namespace

TgtPlane::TgtPlane(const std::vector<TgtPortal>& portals, const LunFiles& files)
    : m_files(files)
{
    for (const TgtPortal& portal : portals) {
        m_portals.push_back({portal.address, TgtDaemon(portal.socket), {}, 0, false});
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
    for (const auto& [number, listed] : portal.daemon.ListTargets()) {
        if (listed.name.rfind(begin, 0) == 0) {
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
    portal.daemon.AddTarget(portal.lastNumber, AnchorName(portal.address));
}

void TgtPlane::LookAgain(Portal& portal)
{
    const auto there = portal.daemon.ListTargets();
    std::set<int> known;
    for (auto each = portal.targets.begin(); each != portal.targets.end();) {
        const auto found = there.find(each->second.number);
        if (found == there.end() || found->second.name != NameFor(portal.address, each->first.id)) {
            each = portal.targets.erase(each);
            continue;
        }
        RemoveUnsureLuns(portal, each->second, found->second.luns);
        known.insert(each->second.number);
        ++each;
    }
    bool hasAnchor = false;
    for (const auto& [number, listed] : there) {
        portal.lastNumber = std::max(portal.lastNumber, number);
        const bool isAnchor = listed.name == AnchorName(portal.address);
        hasAnchor = hasAnchor || isAnchor;
        if (listed.name.rfind(TargetName(portal.address) + ":", 0) == 0 && !isAnchor && known.count(number) == 0) {
            portal.daemon.RemoveTarget(number);
        }
    }
    if (!hasAnchor) { // another daemon has its place
        AddAnchor(portal);
    }
}

void TgtPlane::RemoveUnsureLuns(const Portal& portal, Target& target, const std::set<LunNumber>& there)
{
    while (!target.unsure.empty()) {
        const LunNumber number = *target.unsure.begin();
        if (there.count(number) != 0) {
            portal.daemon.RemoveLun(target.number, number);
        }
        target.luns.erase(number);
        target.unsure.erase(number);
    }
}

void TgtPlane::Apply(const Exports& exports)
{
    for (Portal& portal : m_portals) {
        if (portal.isUnsure) {
            LookAgain(portal);
        }
        portal.isUnsure = true; // until all is done
        RemoveTargets(portal, exports);
        for (const auto& [initiator, luns] : exports) {
            if (initiator.kind == Kind::IscsiInitiator) {
                ApplyLuns(portal, OpenTarget(portal, initiator), luns);
            }
        }
        portal.isUnsure = false;
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
    const int number = ++portal.lastNumber; // used up, whatever becomes of it
    portal.daemon.AddTarget(number, NameFor(portal.address, initiator.id));
    try {
        portal.daemon.Bind(number, initiator.id);
    } catch (const std::exception&) {
        TakeBack([&] { portal.daemon.RemoveTarget(number); });
        throw;
    }
    return portal.targets.emplace(initiator, Target{number, {}, {}}).first->second;
}

void TgtPlane::ApplyLuns(const Portal& portal, Target& target, const LunTable& wanted) const
{
    const LunTable there = target.luns;
    for (const auto& [number, lun] : there) {
        if (!Contains(wanted, number, lun)) {
            target.unsure.insert(number);
            portal.daemon.RemoveLun(target.number, number);
            target.luns.erase(number);
            target.unsure.erase(number);
        }
    }
    for (const auto& [number, lun] : wanted) {
        if (!Contains(target.luns, number, lun)) {
            const BackedLun backed = m_files.Open(lun);
            target.unsure.insert(number);
            portal.daemon.AddLun(target.number, number, backed);
            target.luns[number] = lun;
            target.unsure.erase(number);
        }
    }
}

} // namespace ZavSim
