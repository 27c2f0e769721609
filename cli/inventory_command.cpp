#include "cli/commands.h"

#include "base/json_writing.h"
#include "base/printable_text.h"
#include "cli/array_login.h"
#include "cli/environment_file.h"
#include "cli/failure.h"
#include "cli/options.h"
#include "rest/zav_rest_api.h"

#include <json/writer.h>

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
    std::uint64_t pageSize = 500;
};

void Require(int code, const std::string& what, const std::string& where, const std::string& errorText)
{
    if (code != 0) {
        throw Failure(ExitCodeOf(code), where + ": cannot read " + what + ReasonOf(errorText, code));
    }
}

/// What an array holds, but for its LUNs.
struct Inventory {
    std::string serial;
    std::string productMode;
    std::vector<std::string> managementIps;
    std::vector<std::string> serviceIps;
    std::vector<Zav::StoragePool> pools;
    std::uint64_t lunCount = 0;
};

Inventory ReadInventory(ZavRestApi& api, const std::string& url)
{
    Inventory inventory;
    std::string errorText;
    Require(api.GetSerialNum(inventory.serial, errorText), "the serial number", url, errorText);
    Require(api.GetProductMode(inventory.productMode, errorText), "the product model", url, errorText);
    Require(api.GetAllManagementV4IPs(inventory.managementIps, errorText), "the management ports", url, errorText);
    Require(api.GetStorageIP(inventory.serviceIps, errorText), "the service ports", url, errorText);
    Require(api.GetAllStoragePool(inventory.pools, errorText), "the storage pools", url, errorText);
    Require(api.GetLunCount(inventory.lunCount, errorText), "the number of LUNs", url, errorText);
    return inventory;
}

// Reads the LUNs page by page and hands each page on, so that an array of any size needs the memory of one page.
template <typename Print>
void ReadLuns(ZavRestApi& api, const std::string& url, std::uint64_t lunCount, std::uint64_t pageSize,
              const Print& print)
{
    const Report::ProgressBar bar("LUNs", lunCount);
    for (std::uint64_t offset = 0; offset < lunCount; offset += pageSize) {
        std::vector<Zav::LunInfo> luns;
        std::string errorText;
        Require(api.GetLunListByPage(offset, pageSize, luns, errorText), "the LUNs from " + std::to_string(offset), url,
                errorText);
        print(luns);
        bar.Show(offset + luns.size());
    }
}

void PrintTables(ZavRestApi& api, const std::string& url, const InventoryOptions& options, const Inventory& inventory)
{
    Report::Table({{"URL", url},
                   {"SERIAL NUMBER", inventory.serial},
                   {"PRODUCT MODEL", inventory.productMode},
                   {"MANAGEMENT PORTS", boost::join(inventory.managementIps, ", ")},
                   {"SERVICE PORTS", boost::join(inventory.serviceIps, ", ")},
                   {"POOLS", std::to_string(inventory.pools.size())},
                   {"LUNS", std::to_string(inventory.lunCount)}});

    std::vector<Report::Row> rows = {{"POOL", "NAME", "TOTAL", "FREE", "USED", "HEALTH", "USAGE", "DESCRIPTION"}};
    for (const Zav::StoragePool& pool : inventory.pools) {
        rows.push_back({std::to_string(pool.id), pool.name, Report::Size(pool.totalCapacity),
                        Report::Size(pool.freeCapacity), Report::Size(pool.consumedCapacity),
                        std::to_string(pool.healthStatus), pool.usageType, pool.description});
    }
    std::cout << "\n";
    Report::Table(rows);

    std::cout << "\n";
    bool hasHeading = false;
    ReadLuns(api, url, inventory.lunCount, options.pageSize, [&hasHeading](const std::vector<Zav::LunInfo>& luns) {
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
        std::cout << std::flush;
    });
}

Json::Value ToJson(const std::vector<std::string>& texts)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& text : texts) {
        list.append(text);
    }
    return list;
}

Json::Value ToJson(const Zav::StoragePool& pool)
{
    Json::Value value;
    value["id"] = Json::UInt64(pool.id);
    value["name"] = pool.name;
    value["description"] = pool.description;
    value["total_bytes"] = Json::UInt64(pool.totalCapacity);
    value["free_bytes"] = Json::UInt64(pool.freeCapacity);
    value["consumed_bytes"] = Json::UInt64(pool.consumedCapacity);
    value["health_status"] = pool.healthStatus;
    value["usage_type"] = pool.usageType;
    return value;
}

Json::Value ToJson(const Zav::LunInfo& lun)
{
    Json::Value value;
    value["id"] = Json::UInt64(lun.id);
    value["name"] = lun.name;
    value["wwn"] = lun.wwn;
    value["capacity_bytes"] = Json::UInt64(lun.capacity);
    value["health_status"] = lun.healthStatus;
    value["pool_id"] = Json::UInt64(lun.parentId);
    value["allocation_type"] = lun.allocationType;
    return value;
}

// One object; its LUNs are written as they come, one a line.
void PrintJson(ZavRestApi& api, const std::string& url, const InventoryOptions& options, const Inventory& inventory)
{
    Json::StreamWriterBuilder compact;
    compact["indentation"] = "";
    Json::Value head;
    head["schema"] = Report::SCHEMA;
    head["url"] = url;
    head["serial_number"] = inventory.serial;
    head["product_model"] = inventory.productMode;
    head["management_ips"] = ToJson(inventory.managementIps);
    head["service_ips"] = ToJson(inventory.serviceIps);
    head["lun_count"] = Json::UInt64(inventory.lunCount);
    head["pools"] = Json::Value(Json::arrayValue);
    for (const Zav::StoragePool& pool : inventory.pools) {
        head["pools"].append(ToJson(pool));
    }
    std::string text = Base::WriteJson(compact, head);
    text.pop_back(); // the closing brace comes after the LUNs
    std::cout << text << ",\"luns\":[";
    const char* separator = "\n";
    ReadLuns(api, url, inventory.lunCount, options.pageSize,
             [&separator, &compact](const std::vector<Zav::LunInfo>& luns) {
                 for (const Zav::LunInfo& lun : luns) {
                     std::cout << separator << Base::WriteJson(compact, ToJson(lun));
                     separator = ",\n";
                 }
             });
    std::cout << "\n]}" << std::endl;
}

ExitCode RunInventory(const InventoryOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const boost::shared_ptr<ZavRestApi> api = login.Api();
    const std::string& url = login.Device().url;
    const Inventory inventory = ReadInventory(*api, url);
    if (options.format == Report::Format::Json) {
        PrintJson(*api, url, options, inventory);
    } else {
        PrintTables(*api, url, options, inventory);
    }
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
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunInventory(*options); };
    });
}
