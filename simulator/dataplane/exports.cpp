#include "simulator/dataplane/exports.h"

#include <set>
#include <stdexcept>

namespace ZavSim {

namespace {

using LunSet = std::set<std::uint64_t>;

void AddLunsOfView(const State& state, const std::string& view, LunSet& luns)
{
    for (const std::string& group : state.MembersOf(Kind::MappingView, view, Kind::LunGroup)) {
        for (const std::string& lun : state.MembersOf(Kind::LunGroup, group, Kind::Lun)) {
            luns.insert(*ParseNumber(lun));
        }
    }
}

LunSet LunsOf(const State& state, const Initiator& initiator)
{
    LunSet luns;
    for (const std::string& host : state.ContainersOf(initiator.kind, initiator.id, Kind::Host)) {
        for (const std::string& group : state.ContainersOf(Kind::Host, host, Kind::HostGroup)) {
            for (const std::string& view : state.ContainersOf(Kind::HostGroup, group, Kind::MappingView)) {
                AddLunsOfView(state, view, luns);
            }
        }
    }
    return luns;
}

LunTable Number(const Initiator& initiator, LunSet luns, const LunTable& before)
{
    if (luns.size() > HIGHEST_LUN_NUMBER) {
        throw std::runtime_error("initiator " + initiator.id + " would see " + std::to_string(luns.size()) +
                                 " LUNs; it can see " + std::to_string(HIGHEST_LUN_NUMBER));
    }
    LunTable table;
    for (const auto& [number, lun] : before) {
        if (luns.erase(lun) != 0) {
            table[number] = lun;
        }
    }
    LunNumber next = 1;
    for (const std::uint64_t lun : luns) {
        while (table.count(next) != 0) {
            ++next;
        }
        table[next] = lun;
    }
    return table;
}

} // namespace

Exports WorkOutExports(const State& state, const Exports& before)
{
    Exports exports;
    for (const Kind kind : {Kind::IscsiInitiator, Kind::FcInitiator}) {
        for (const auto& object : state.ObjectsOf(kind)) {
            const Initiator initiator{kind, object.first};
            const auto known = before.find(initiator);
            exports[initiator] =
                Number(initiator, LunsOf(state, initiator), known == before.end() ? LunTable() : known->second);
        }
    }
    return exports;
}

} // namespace ZavSim
