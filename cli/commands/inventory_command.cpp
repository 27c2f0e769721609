#include "cli/commands/commands.h"

#include "base/printable_text.h"
#include "cli/array/array_inventory.h"
#include "cli/array/array_login.h"
#include "cli/array/environment_file.h"
#include "cli/commands/list_output.h"
#include "cli/commands/options.h"

#include <boost/algorithm/string/join.hpp>

#include <array>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

struct InventoryOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
    std::uint64_t pageSize = ArrayInventory::PAGE;
};

void PrintTables(ArrayInventory& array, const std::string& url, const InventoryOptions& options)
{
    const ArrayInventory::System system = array.ReadSystem();
    const std::vector<Zav::StoragePool> pools = array.Pools();
    Report::Table({{"URL", url},
                   {"SERIAL NUMBER", system.serial},
                   {"PRODUCT MODEL", system.productMode},
                   {"MANAGEMENT PORTS", boost::join(system.managementIps, ", ")},
                   {"SERVICE PORTS", boost::join(system.serviceIps, ", ")},
                   {"POOLS", std::to_string(pools.size())},
                   {"LUNS", std::to_string(system.lunCount)}});

    std::vector<Report::Row> rows = {{"POOL", "NAME", "TOTAL", "FREE", "USED", "HEALTH", "USAGE", "DESCRIPTION"}};
    for (const Zav::StoragePool& pool : pools) {
        rows.push_back({std::to_string(pool.id), pool.name, Report::Size(pool.totalCapacity),
                        Report::Size(pool.freeCapacity), Report::Size(pool.consumedCapacity),
                        std::to_string(pool.healthStatus), pool.usageType, pool.description});
    }
    std::cout << "\n";
    Report::Table(rows);

    std::cout << "\n";
    bool hasHeading = false;
    array.EachLunPage(system.lunCount, options.pageSize, [&hasHeading](const std::vector<Zav::LunInfo>& luns) {
        // The columns are as wide in every page as names of usual length need.
        const auto printLine = [](const Report::Row& cells) {
            constexpr std::array<std::size_t, 7> COLUMNS = {6, 32, 32, 12, 6, 4, 0};
            std::string line;
            for (std::size_t i = 0; i < COLUMNS.size(); ++i) {
                line += (i == 0 ? "" : "  ") + Base::PrintableCell(cells[i], COLUMNS[i]);
            }
            std::cout << line << "\n";
        };
        if (!hasHeading) {
            printLine({"LUN", "NAME", "WWN", "CAPACITY", "HEALTH", "POOL", "ALLOCATION"});
            hasHeading = true;
        }
        for (const Zav::LunInfo& lun : luns) {
            printLine({std::to_string(lun.id), lun.name, lun.wwn, Report::Size(lun.capacity),
                       std::to_string(lun.healthStatus), std::to_string(lun.parentId),
                       std::to_string(lun.allocationType)});
        }
        Report::RequireWrittenOutput();
        return true;
    });
}

// One object; its LUNs are written as they come, one a line.
ExitCode PrintJson(ArrayInventory& array, const std::string& url, const InventoryOptions& options, LogTail& log)
{
    const ArrayInventory::System system = array.ReadSystem();
    Json::Value head = ToJson(system);
    head["schema"] = Report::SCHEMA;
    head["url"] = url;
    head["pools"] = Json::Value(Json::arrayValue);
    for (const Zav::StoragePool& pool : array.Pools()) {
        head["pools"].append(ToJson(pool));
    }
    ListOutput output(Report::Format::Json, head, "luns", {});
    const auto readLuns = [&] {
        return array.EachLunPage(system.lunCount, options.pageSize, [&output](const std::vector<Zav::LunInfo>& luns) {
            output.Print(ToJsonList(luns));
            return true;
        });
    };
    return output.PrintAll(readLuns, log);
}

ExitCode RunInventory(const InventoryOptions& options, LogTail& log)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    ArrayInventory array(login);
    if (options.format == Report::Format::Json) {
        return PrintJson(array, login.Device().url, options, log);
    }
    PrintTables(array, login.Device().url, options);
    return ExitCode::Done;
}

} // namespace

void AddInventoryCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<InventoryOptions>();
    CLI::App* const command = app.add_subcommand("inventory", "Print an array's system, ports, pools and LUNs");
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddFormat(*command, options->format);
    command->add_option("--page-size", options->pageSize, "LUNs to a request (500)")
        ->option_text("N")
        ->check(CLI::Range(1U, 100000U));
    Options::AddExamples(*command,
                         {"zavctl inventory --env env.json", "ZAVCTL_ENV=env.json zavctl inventory --page-size 100",
                          "zavctl inventory --env env.json -o json | jq '.luns[].name'"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& log, StopSignals& /*signals*/) { return RunInventory(*options, log); };
    });
}
