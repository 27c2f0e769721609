#include "tests/simulation/simulated_array.h"

#include "simulator/array/operations.h"
#include "tests/simulation/sealed.h"

#include <json/reader.h>

#include <array>
#include <memory>
#include <vector>

using ZavSim::Kind;
using ZavSim::State;

namespace Simulation {

namespace {

constexpr std::array<Kind, 4> KINDS = {Kind::Host, Kind::HostGroup, Kind::LunGroup, Kind::MappingView};
const std::string SOMEBODY = "somebody";

struct Tie {
    Kind container;
    Kind member;
};

constexpr std::array<Tie, 6> TIES = {{
    {Kind::Host, Kind::IscsiInitiator},
    {Kind::HostGroup, Kind::Host},
    {Kind::MappingView, Kind::HostGroup},
    {Kind::MappingView, Kind::LunGroup},
    {Kind::LunGroup, Kind::Lun},
    {Kind::LunGroup, Kind::Snapshot},
}};

ZavSim::ArrayShape Shape()
{
    ZavSim::ArrayShape shape;
    shape.serial = SimulatedArray::SERIAL;
    shape.managementAddresses = {SimulatedArray::ADDRESS};
    shape.serviceAddresses = {SimulatedArray::PORTAL};
    return shape;
}

ZavSim::Accounts TheAccounts()
{
    ZavSim::Accounts accounts;
    accounts.Add("admin", PASSWORD);
    return accounts;
}

bool IsForeign(const ZavSim::Object& object)
{
    return object.name.compare(0, SOMEBODY.size(), SOMEBODY) == 0;
}

// (kind, id) of all that is ours.
std::vector<std::pair<Kind, std::string>> OursOf(const State& state)
{
    std::vector<std::pair<Kind, std::string>> ours;
    for (const Kind kind : KINDS) {
        for (const auto& [id, object] : state.ObjectsOf(kind)) {
            if (!IsForeign(object)) {
                ours.emplace_back(kind, id);
            }
        }
    }
    return ours;
}

Json::Value Parsed(const std::string& text)
{
    Json::Value root;
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
    return root;
}

const char* RecordKeyOf(Kind kind)
{
    switch (kind) {
    case Kind::Host:
        return "HOSTID";
    case Kind::HostGroup:
        return "HOSTGROUPID";
    case Kind::LunGroup:
        return "LUNGROUPID";
    default:
        return "MAPVIEWID";
    }
}

} // namespace

SimulatedArray::SimulatedArray(const SharedPage& page)
    : m_system(
          Shape(), TheAccounts(), {1000, std::chrono::hours(1000)},
          [&page] { return ZavSim::SteadyTime(std::chrono::nanoseconds(page.steadyNanoseconds)); }, nullptr)
    , m_service(m_system)
{
    m_system.Change([](State& state) {
        for (const Kind kind : KINDS) {
            ZavSim::CreateObject(state, kind, SOMEBODY + "'s", "");
        }
        ZavSim::RegisterInitiator(state, Kind::IscsiInitiator, "iqn.2020-01.somebody");
        ZavSim::Associate(state, Kind::Host, "1", Kind::IscsiInitiator, "iqn.2020-01.somebody");
        ZavSim::Associate(state, Kind::HostGroup, "1", Kind::Host, "1");
        ZavSim::Associate(state, Kind::LunGroup, "1", Kind::Lun, "3");
        ZavSim::Associate(state, Kind::MappingView, "1", Kind::HostGroup, "1");
        ZavSim::Associate(state, Kind::MappingView, "1", Kind::LunGroup, "1");
    });
    m_foreign = Foreign();
}

ZavSim::HttpRequest SimulatedArray::ToRequest(const Message& request)
{
    ZavSim::HttpRequest made;
    made.method = request[1];
    made.target = request[2].substr(request[2].find('/', request[2].find("//") + 2));
    made.body = request[3];
    for (std::size_t i = 5; i + 1 < request.size(); i += 2) {
        made.headers.emplace_back(request[i], request[i + 1]);
    }
    made.ParseBody();
    return made;
}

ZavSim::HttpAnswer SimulatedArray::Handle(const Message& request)
{
    ZavSim::HttpAnswer answer = m_service.Handle(ToRequest(request));
    if (answer.body.find("iBaseToken") != std::string::npos) {
        m_tokens.insert(Parsed(answer.body)["data"]["iBaseToken"].asString());
    }
    return answer;
}

ZavSim::HttpAnswer SimulatedArray::Refuse(const Message& request, int code, const std::string& description)
{
    ZavSim::Fault fault;
    fault.code = code;
    fault.description = description;
    return m_service.Refuse(ToRequest(request), fault);
}

void SimulatedArray::DeleteOneOfOurs(std::uint64_t choice)
{
    m_system.Change([choice](State& state) {
        const auto ours = OursOf(state);
        if (!ours.empty()) {
            const auto& [kind, id] = ours[choice % ours.size()];
            state.Remove(kind, id);
        }
    });
}

void SimulatedArray::UntieOneOfOurs(std::uint64_t choice)
{
    m_system.Change([choice](State& state) {
        struct Found {
            Tie tie;
            std::string container;
            std::string member;
        };
        std::vector<Found> found;
        for (const auto& [kind, id] : OursOf(state)) {
            for (const Tie& tie : TIES) {
                if (tie.container == kind) {
                    for (const std::string& member : state.MembersOf(kind, id, tie.member)) {
                        found.push_back({tie, id, member});
                    }
                }
            }
        }
        if (!found.empty()) {
            const Found& chosen = found[choice % found.size()];
            state.Unlink(chosen.tie.container, chosen.container, chosen.tie.member, chosen.member);
        }
    });
}

void SimulatedArray::MapALun()
{
    m_system.Change([](State& state) {
        for (const auto& [kind, id] : OursOf(state)) {
            if (kind == Kind::LunGroup) {
                state.Link(Kind::LunGroup, id, Kind::Lun, "5");
                return;
            }
        }
    });
}

std::string SimulatedArray::ProblemOfChain(const std::string& record)
{
    const Json::Value recorded = Parsed(record)[SERIAL];
    return m_system.Look([&recorded](const State& state) -> std::string {
        std::map<Kind, std::string> ids;
        for (const Kind kind : KINDS) {
            ids[kind] = recorded[RecordKeyOf(kind)].asString();
            if (!state.Has(kind, ids[kind])) {
                return std::string("the record names ") + ZavSim::InfoOf(kind).words + " \"" + ids[kind] +
                       "\", which does not stand";
            }
        }
        ids[Kind::IscsiInitiator] = NODE_IQN;
        for (std::size_t i = 0; i < 4; ++i) {
            const Tie& tie = TIES.at(i);
            const ZavSim::IdSet& members = state.MembersOf(tie.container, ids[tie.container], tie.member);
            if (members != ZavSim::IdSet{ids[tie.member]}) {
                return ZavSim::Naming(tie.container, ids[tie.container]) + " has " + std::to_string(members.size()) +
                       " of kind " + ZavSim::InfoOf(tie.member).words + ", and not " + ids[tie.member] + " alone";
            }
        }
        return "";
    });
}

std::string SimulatedArray::ProblemOfCount()
{
    return m_system.Look([](const State& state) -> std::string {
        std::map<Kind, int> counts;
        for (const auto& [kind, id] : OursOf(state)) {
            ++counts[kind];
        }
        for (const Kind kind : KINDS) {
            if (counts[kind] != 1) {
                return "there are " + std::to_string(counts[kind]) + " of kind " + ZavSim::InfoOf(kind).words;
            }
        }
        return "";
    });
}

std::string SimulatedArray::Ours()
{
    return m_system.Look([](const State& state) {
        std::string text;
        for (const auto& [kind, id] : OursOf(state)) {
            text += (text.empty() ? "" : ", ") + ZavSim::Naming(kind, id);
        }
        return text;
    });
}

std::string SimulatedArray::Nameless(const std::string& record, const std::string& journal)
{
    const Json::Value recorded = Parsed(record)[SERIAL];
    return m_system.Look([&](const State& state) {
        std::string text;
        for (const auto& [kind, id] : OursOf(state)) {
            const bool isRecorded = recorded[RecordKeyOf(kind)].asString() == id;
            if (!isRecorded && journal.find("\"" + state.Find(kind, id)->name + "\"") == std::string::npos) {
                text += (text.empty() ? "" : ", ") + ZavSim::Naming(kind, id);
            }
        }
        return text;
    });
}

std::string SimulatedArray::Foreign()
{
    return m_system.Look([](const State& state) {
        std::string text;
        for (const Kind kind : KINDS) {
            for (const auto& [id, object] : state.ObjectsOf(kind)) {
                if (!IsForeign(object)) {
                    continue;
                }
                text += ZavSim::Naming(kind, id) + " " + object.name;
                for (const Tie& tie : TIES) {
                    if (tie.container == kind) {
                        for (const std::string& member : state.MembersOf(kind, id, tie.member)) {
                            text += " " + member;
                        }
                    }
                }
                text += "; ";
            }
        }
        return text + std::to_string(state.LunCount()) + " LUNs";
    });
}

std::string SimulatedArray::ProblemOfForeign()
{
    const std::string now = Foreign();
    return now == m_foreign ? "" : "somebody else's objects changed from \"" + m_foreign + "\" to \"" + now + "\"";
}

std::size_t SimulatedArray::SessionCount()
{
    return m_system.Sessions().List().size();
}

} // namespace Simulation
