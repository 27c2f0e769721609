#include "cli/commands/commands.h"

#include "cli/array/array_login.h"
#include "cli/array/environment_file.h"
#include "cli/commands/options.h"
#include "cli/console/consent.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "cli/node/node_lock.h"
#include "cli/preparation/leftovers.h"
#include "cli/record/device_record.h"
#include "cli/record/recorded_objects.h"

#include <boost/algorithm/string/join.hpp>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

struct TidyOptions {
    std::string environmentPath;
    std::string named; ///< "hostgroup:7"; empty: all that is left over
    bool isAgreed = false;
    bool isDry = false;
};

std::string NamingAndUses(const Leftovers::Object& object)
{
    return object.Naming() + (object.inUse.empty() ? "" : ", which " + boost::join(object.inUse, ", "));
}

const ObjectKind* KindOf(const std::string& named)
{
    const auto& kinds = RecordedKinds();
    const auto* const found = std::find_if(kinds.begin(), kinds.end(), [&named](const RecordedKind& each) {
        return named.compare(0, named.find(':'), each.kind->resource) == 0;
    });
    return found == kinds.end() || named.find(':') + 1 >= named.size() ? nullptr : found->kind;
}

// For the command line: why it names nothing; empty when it does.
std::string ProblemOfName(const std::string& named)
{
    return named.find(':') != std::string::npos && KindOf(named) != nullptr
               ? ""
               : "it is no KIND:ID, such as hostgroup:7, with mappingview, hostgroup, lungroup or host as KIND";
}

// What is named need not be this node's by the journal; then nobody may use it.
Leftovers::Object Named(Leftovers& leftovers, const std::string& named)
{
    const ObjectKind& kind = *KindOf(named);
    const std::string id = named.substr(named.find(':') + 1);
    for (const Leftovers::Object& object : leftovers.Objects()) {
        if (object.kind == &kind && object.id == id) {
            return object;
        }
    }
    Leftovers::Object object = leftovers.OneOfOthers(kind, id);
    if (!object.inUse.empty()) {
        throw Failure(ExitCode::Foreign, NamingAndUses(object) +
                                             ": it is in use, and not ours by the journal; nothing was "
                                             "changed");
    }
    return object;
}

std::vector<Leftovers::Object> Chosen(Leftovers& leftovers, const TidyOptions& options)
{
    if (!options.named.empty()) {
        return {Named(leftovers, options.named)};
    }
    for (const Leftovers::Object& object : leftovers.OfOthers()) {
        Report::Tell("not ours by the journal, and left: " + NamingAndUses(object));
    }
    return leftovers.Objects();
}

// False: whoever is asked says no.
bool IsAgreed(const TidyOptions& options, std::size_t count)
{
    if (options.isAgreed) {
        return true;
    }
    if (!Consent::CanBeAsked()) {
        throw Failure(ExitCode::Usage, "nobody is there to ask: tell --yes or --dry-run");
    }
    return Consent::Give(options.named.empty() ? "take these " + std::to_string(count) + " apart?" : "take it apart?");
}

// As it is now, whatever was seen before somebody was asked.
void TakeApart(Leftovers& now, const std::vector<Leftovers::Object>& objects)
{
    std::optional<Failure> first;
    for (const Leftovers::Object& object : objects) {
        if (!now.Has(object)) {
            Report::Step("not left over any more: " + NamingAndUses(object));
            continue;
        }
        try {
            now.Remove(object);
            Report::Step("removed " + NamingAndUses(object));
        } catch (const Failure& failure) {
            if (first) {
                Report::Tell(failure.what());
            } else {
                first = failure;
            }
        }
    }
    if (first) {
        throw Failure(*first);
    }
}

ExitCode RunTidy(const TidyOptions& options)
{
    const ArrayLogin login(NameOfEnvironment(options.environmentPath), ReadEnvironment(options.environmentPath));
    const std::string path = DeviceRecord(login.DeviceId()).Path();
    std::optional<NodeLock> lock(path);
    Leftovers leftovers(login, DeviceRecord(login.DeviceId()).Message(), // as it is now that nobody changes it
                        options.isDry ? Leftovers::Gone::Kept : Leftovers::Gone::Forgotten);
    const std::vector<Leftovers::Object> objects = Chosen(leftovers, options);
    if (objects.empty()) {
        Report::Step("nothing of this node is left over on " + login.Device().url);
        return ExitCode::Done;
    }
    for (const Leftovers::Object& object : objects) {
        Report::Tell((leftovers.Has(object) ? "left over: " : "not ours by the journal: ") + NamingAndUses(object));
    }
    if (options.isDry) {
        return ExitCode::Done;
    }
    lock.reset(); // who is asked may take his time
    if (!IsAgreed(options, objects.size())) {
        Report::Tell("nothing was changed");
        return ExitCode::Done;
    }
    lock.emplace(path);
    Leftovers now(login, DeviceRecord(login.DeviceId()).Message());
    if (leftovers.Has(objects.front())) {
        TakeApart(now, objects);
    } else { // the one that was named
        now.RemoveIdleOneOfOthers(objects.front());
        Report::Step("removed " + NamingAndUses(objects.front()));
    }
    return ExitCode::Done;
}

} // namespace

void AddTidyCommand(CLI::App& app, Run& run)
{
    const auto options = std::make_shared<TidyOptions>();
    CLI::App* const command =
        app.add_subcommand("tidy", "Take apart on an array what this node made there and its record does not name");
    Options::AddEnvironment(*command, options->environmentPath);
    command
        ->add_option("--id", options->named,
                     "Take apart this one alone, which need not be this node's by its journal, but must be in no use: "
                     "mappingview:ID, hostgroup:ID, lungroup:ID or host:ID")
        ->check(CLI::Validator(ProblemOfName, "KIND:ID"))
        ->option_text("KIND:ID");
    command->add_flag("-y,--yes", options->isAgreed, "Do not ask");
    command->add_flag("--dry-run", options->isDry, "Print what is left over and change nothing");
    Options::AddExamples(*command, {"zavctl tidy --env env.json --dry-run", "zavctl tidy --env env.json --yes"});
    command->callback([options, &run] {
        Options::CompleteEnvironment(options->environmentPath);
        run = [options](LogTail& /*log*/, StopSignals& /*signals*/) { return RunTidy(*options); };
    });
}
