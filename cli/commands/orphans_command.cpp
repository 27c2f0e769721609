#include "cli/commands/commands.h"

#include "cli/array/array_login.h"
#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/report.h"
#include "cli/preparation/leftovers.h"
#include "cli/record/device_record.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace {

struct OrphansOptions {
    std::string environmentPath;
    Report::Format format = Report::Format::Table;
};

/// An object that no record of this node names.
struct Orphan {
    Leftovers::Object object;
    bool isCertain; ///< this node's, by its journal
    std::string why;
};

std::vector<Orphan> Find(const ArrayLogin& login)
{
    Leftovers leftovers(login, DeviceRecord(login.DeviceId()).Message(), Leftovers::Gone::Kept);
    std::vector<Orphan> orphans;
    for (const Leftovers::Object& object : leftovers.Objects()) {
        orphans.push_back(
            {object, true,
             "the journal names it" + (object.inUse.empty() ? "" : "; it " + boost::join(object.inUse, ", "))});
    }
    for (const Leftovers::Object& object : leftovers.OfThisNodesInitiators()) {
        orphans.push_back({object, false, "it " + boost::join(object.inUse, ", ")});
    }
    for (const Leftovers::Object& object : leftovers.OfOthers()) {
        const bool isKnown = std::any_of(orphans.begin(), orphans.end(), [&object](const Orphan& orphan) {
            return orphan.object.kind == object.kind && orphan.object.id == object.id;
        });
        if (!isKnown) {
            orphans.push_back({object, false, "it bears the prefix; another node's, most likely"});
        }
    }
    return orphans;
}

Json::Value ToJson(const Orphan& orphan)
{
    Json::Value value;
    value["kind"] = std::string(orphan.object.kind->words);
    value["id"] = orphan.object.id;
    value["name"] = orphan.object.name;
    value["certain"] = orphan.isCertain;
    value["why"] = orphan.why;
    return value;
}

ExitCode RunOrphans(const OrphansOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const std::vector<Orphan> orphans = Find(login);
    if (options.format == Report::Format::Json) {
        Json::Value answer;
        answer["schema"] = Report::SCHEMA;
        answer["orphans"] = Json::Value(Json::arrayValue);
        for (const Orphan& orphan : orphans) {
            answer["orphans"].append(ToJson(orphan));
        }
        Report::Json(answer);
        return ExitCode::Done;
    }
    if (orphans.empty()) {
        Report::Step("no orphans on " + login.Device().url);
        return ExitCode::Done;
    }
    std::vector<Report::Row> rows = {{"ID", "NAME", "THIS NODE'S", "WHY"}};
    for (const Orphan& orphan : orphans) {
        rows.push_back({std::string(orphan.object.kind->resource) + ":" + orphan.object.id, orphan.object.name,
                        orphan.isCertain ? "certainly" : "possibly", orphan.why});
    }
    Report::Table(rows);
    return ExitCode::Done;
}

} // namespace

void AddOrphansCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<OrphansOptions>();
    CLI::App* const command = app.add_subcommand(
        "orphans", "List what is this node's on an array, certainly or possibly, and no record names");
    Options::AddEnvironment(*command, options->environmentPath);
    Options::AddFormat(*command, options->format);
    Options::AddExamples(*command, {"zavctl orphans --env env.json",
                                    "zavctl orphans --env env.json -o json | jq '.orphans[] | select(.certain)'"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunOrphans(*options); };
    });
}
