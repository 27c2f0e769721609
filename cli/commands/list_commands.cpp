#include "cli/commands/commands.h"

#include "cli/array/array_inventory.h"
#include "cli/array/array_login.h"
#include "cli/array/array_objects.h"
#include "cli/array/environment_file.h"
#include "cli/commands/list_filter.h"
#include "cli/commands/list_output.h"
#include "cli/commands/options.h"
#include "cli/node/node_initiators.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The commands that list what an array has, each in a table or as the member of an object.

namespace {

using As = ListOutput::Column::As;
using Objects = std::vector<Json::Value>;

constexpr std::uint64_t STANDARD_LIMIT = 100;

struct ListOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
    std::vector<std::string> filters;
    std::optional<std::uint64_t> limit;
    bool isAll = false;
};

/// What a reader has to read.
struct Wanted {
    bool hasDetails;                          ///< also members that cost requests of their own for each object
    std::function<bool(const Objects&)> take; ///< false when it has enough
};

/// A list: what it is called, what it looks like, and how it is read.
struct ListKind {
    const char* command;
    const char* help;
    std::vector<ListOutput::Column> columns;
    const char* detail; ///< the member that Wanted::hasDetails is about; null: none
    bool isLong;        ///< a table of it ends after a hundred, unless more is asked for
    bool (*read)(const ArrayLogin& login, const Wanted& wanted); ///< false when the array kept something back
    std::vector<std::string> examples;

    std::vector<std::string> Members() const
    {
        std::vector<std::string> members;
        members.reserve(columns.size());
        for (const ListOutput::Column& column : columns) {
            members.emplace_back(column.member);
        }
        return members;
    }
};

/// What a filter lets through goes to the output, up to a limit.
class Sieve {
public:
    Sieve(ListOutput& output, const ListFilter& filter, std::optional<std::uint64_t> limit)
        : m_output(output)
        , m_filter(filter)
        , m_limit(limit)
    {
    }

    // False when more was there than the limit lets through.
    bool Take(const Objects& objects)
    {
        Objects accepted;
        for (const Json::Value& object : objects) {
            if (m_filter.Accepts(object)) {
                m_isCut = m_limit && m_taken == *m_limit;
                if (m_isCut) {
                    break;
                }
                ++m_taken;
                accepted.push_back(object);
            }
        }
        m_output.Print(accepted);
        return !m_isCut;
    }

    bool IsCut() const noexcept { return m_isCut; }

private:
    ListOutput& m_output;
    const ListFilter& m_filter;
    const std::optional<std::uint64_t> m_limit;
    std::uint64_t m_taken = 0;
    bool m_isCut = false;
};

bool ReadPools(const ArrayLogin& login, const Wanted& wanted)
{
    wanted.take(ToJsonList(ArrayInventory(login).Pools()));
    return true;
}

bool ReadLuns(const ArrayLogin& login, const Wanted& wanted)
{
    ArrayInventory array(login);
    return array.EachLunPage(array.LunCount(), ArrayInventory::PAGE, [&wanted](const std::vector<Zav::LunInfo>& luns) {
        return wanted.take(ToJsonList(luns));
    });
}

bool ReadPorts(const ArrayLogin& login, const Wanted& wanted)
{
    ArrayInventory array(login);
    Objects ports;
    const auto add = [&ports](const char* use, const std::vector<std::string>& addresses) {
        for (const std::string& address : addresses) {
            Json::Value& port = ports.emplace_back();
            port["use"] = use;
            port["address"] = address;
        }
    };
    add("management", array.ManagementIps());
    add("service", array.ServiceIps());
    wanted.take(ports);
    return true;
}

// The ids of the hosts that hold an initiator of this node.
std::vector<std::string> HostsOfThisNode(ArrayObjects& objects)
{
    std::vector<std::string> hosts;
    for (const NodeInitiators::Name& name : NodeInitiators::Read().All()) {
        if (const auto initiator = objects.Find(*name.kind, name.id)) {
            hosts.push_back(initiator->parentId);
        }
    }
    return hosts;
}

Json::Value HostToJson(const ArrayObject& host, const std::vector<std::string>& ofThisNode)
{
    Json::Value value;
    value["id"] = host.id;
    value["name"] = host.name;
    value["this_node"] = std::find(ofThisNode.begin(), ofThisNode.end(), host.id) != ofThisNode.end();
    return value;
}

Json::Value InitiatorsOf(ArrayObjects& objects, const std::string& hostId)
{
    Json::Value initiators(Json::arrayValue);
    for (const ObjectKind* const kind : {&FC_INITIATOR, &ISCSI_INITIATOR}) {
        for (const std::string& id : objects.Initiators(*kind, hostId)) {
            initiators.append(id);
        }
    }
    return initiators;
}

bool ReadHosts(const ArrayLogin& login, const Wanted& wanted)
{
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    ArrayObjects objects(*api, login.Device().url);
    const std::vector<std::string> ofThisNode = HostsOfThisNode(objects);
    objects.EachPage(HOST, [&](const std::vector<ArrayObject>& page) {
        Objects hosts;
        for (const ArrayObject& host : page) {
            Json::Value& value = hosts.emplace_back(HostToJson(host, ofThisNode));
            if (wanted.hasDetails) {
                value["initiators"] = InitiatorsOf(objects, host.id);
            }
        }
        return wanted.take(hosts);
    });
    return true;
}

std::vector<ListKind> Kinds()
{
    return {
        {"pools",
         "List an array's storage pools",
         {{"POOL", "id"},
          {"NAME", "name"},
          {"TOTAL", "total_bytes", As::Size},
          {"FREE", "free_bytes", As::Size},
          {"USED", "consumed_bytes", As::Size},
          {"HEALTH", "health_status"},
          {"USAGE", "usage_type", As::Text, true},
          {"DESCRIPTION", "description", As::Text, true}},
         nullptr,
         false,
         &ReadPools,
         {"zavctl pools --env env.json", "zavctl pools --env env.json -o json | jq '.pools[].free_bytes'"}},
        {"luns",
         "List an array's LUNs",
         {{"LUN", "id"},
          {"NAME", "name"},
          {"CAPACITY", "capacity_bytes", As::Size},
          {"POOL", "pool_id"},
          {"HEALTH", "health_status"},
          {"ALLOCATION", "allocation_type", As::Text, true},
          {"WWN", "wwn", As::Text, true}},
         nullptr,
         true,
         &ReadLuns,
         {"zavctl luns --env env.json --limit 20", "zavctl luns --env env.json --all --filter 'name=LUN_00001*'"}},
        {"ports",
         "List an array's management and service addresses",
         {{"USE", "use"}, {"ADDRESS", "address"}},
         nullptr,
         false,
         &ReadPorts,
         {"zavctl ports --env env.json", "zavctl ports --env env.json --filter use=service"}},
        {"hosts",
         "List an array's hosts, and which holds this node's initiators",
         {{"HOST", "id"}, {"NAME", "name"}, {"THIS NODE", "this_node"}, {"INITIATORS", "initiators", As::Text, true}},
         "initiators",
         true,
         &ReadHosts,
         {"zavctl hosts --env env.json", "zavctl hosts --env env.json -o wide --filter 'initiators=iqn.*'"}},
    };
}

std::optional<std::uint64_t> LimitOf(const ListKind& kind, const ListOptions& options)
{
    const bool isCutUnasked = kind.isLong && !options.isAll && options.format != Report::Format::Json;
    return options.limit ? options.limit : isCutUnasked ? std::optional(STANDARD_LIMIT) : std::nullopt;
}

ExitCode RunList(const ListKind& kind, const ListOptions& options, LogTail& log)
{
    const ListFilter filter(options.filters, kind.Members());
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    Json::Value head;
    head["schema"] = Report::SCHEMA;
    head["url"] = login.Device().url;
    ListOutput output(options.format, head, kind.command, kind.columns);
    Sieve sieve(output, filter, LimitOf(kind, options));
    const bool hasDetails =
        options.format != Report::Format::Table || (kind.detail != nullptr && filter.Names(kind.detail));
    const ExitCode code = output.PrintAll(
        [&] {
            const Wanted wanted = {hasDetails, [&sieve](const Objects& objects) { return sieve.Take(objects); }};
            return kind.read(login, wanted) && !sieve.IsCut();
        },
        log);
    if (code == ExitCode::Done && sieve.IsCut()) {
        Report::Tell("there are more; --all lists all");
    }
    return code;
}

void AddList(CLI::App& app, Run& run, const ListKind& kind)
{
    const auto options = std::make_shared<ListOptions>();
    CLI::App* const command = app.add_subcommand(kind.command, kind.help);
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddWideFormat(*command, options->format);
    command
        ->add_option("--filter", options->filters,
                     "Only those of which a member fits a pattern, as a shell has them; may be repeated; members: " +
                         boost::join(kind.Members(), ", "))
        ->option_text("MEMBER=PATTERN")
        ->allow_extra_args(false);
    if (kind.isLong) {
        CLI::Option* const limit =
            command
                ->add_option("--limit", options->limit,
                             "No more than so many (" + std::to_string(STANDARD_LIMIT) + " in a table)")
                ->option_text("N")
                ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 32));
        command->add_flag("--all", options->isAll, "All of them")->excludes(limit);
    }
    Options::AddExamples(*command, kind.examples);
    command->callback([options, kind, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        const ListFilter sound(options->filters, kind.Members()); // or the command line is wrong
        run = [options, kind](LogTail& log, StopSignals& /*signals*/) { return RunList(kind, *options, log); };
    });
}

struct SystemOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
};

ExitCode RunSystem(const SystemOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const ArrayInventory::System system = ArrayInventory(login).ReadSystem();
    if (options.format == Report::Format::Json) {
        Json::Value value = ToJson(system);
        value["schema"] = Report::SCHEMA;
        value["url"] = login.Device().url;
        Report::Json(value);
    } else {
        Report::Table({{"URL", login.Device().url},
                       {"SERIAL NUMBER", system.serial},
                       {"PRODUCT MODEL", system.productMode},
                       {"MANAGEMENT PORTS", boost::join(system.managementIps, ", ")},
                       {"SERVICE PORTS", boost::join(system.serviceIps, ", ")},
                       {"LUNS", std::to_string(system.lunCount)}});
    }
    return ExitCode::Done;
}

void AddSystem(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<SystemOptions>();
    CLI::App* const command = app.add_subcommand("system", "Print what an array is");
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddFormat(*command, options->format);
    Options::AddExamples(*command,
                         {"zavctl system --env env.json", "zavctl system --env env.json -o json | jq .serial_number"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunSystem(*options); };
    });
}

} // namespace

void AddListCommands(CLI::App& app, Run& run)
{
    AddSystem(app, run);
    for (const ListKind& kind : Kinds()) {
        AddList(app, run, kind);
    }
}
