#include "cli/record/own_journal.h"

#include <algorithm>

#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK

#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "framework/public/san_journal.h"

#include <exception>

namespace {

OpenFramework::SanJournal Journal()
{
    return OpenFramework::SanJournal(OpenFramework::SanJournal::StandardPath());
}

} // namespace

bool OwnJournal::IsKept()
{
    return true;
}

std::string OwnJournal::Path()
{
    return Journal().Path();
}

void OwnJournal::RequireWritable()
{
    try {
        Journal().RequireWritable();
    } catch (const std::exception& error) {
        throw Failure(ExitCode::Unusable, std::string("what is made could not be entered into the journal: ") +
                                              error.what() + "; nothing was changed");
    }
}

std::vector<OwnJournal::Entry> OwnJournal::Standing(const std::string& device)
{
    try {
        std::vector<Entry> entries;
        for (const OpenFramework::JournalEntry& entry : Journal().Standing(device)) {
            entries.push_back({entry.device, entry.kind, entry.name, entry.id, entry.time});
        }
        return entries;
    } catch (const std::exception& error) {
        throw Failure(ExitCode::Unusable, error.what());
    }
}

void OwnJournal::Enter(const Entry& entry)
{
    try {
        Journal().Made({entry.device, entry.kind, entry.name, entry.id});
    } catch (const std::exception& error) {
        throw Failure(ExitCode::Unusable, error.what());
    }
}

void OwnJournal::Drop(const Entry& entry)
{
    try {
        Journal().Drop({entry.device, entry.kind, entry.name, entry.id});
    } catch (const std::exception& error) {
        Report::Tell(std::string("the journal keeps what is gone: ") + error.what());
    }
}

#else

bool OwnJournal::IsKept()
{
    return false;
}

std::string OwnJournal::Path()
{
    return {};
}

void OwnJournal::RequireWritable() {}

std::vector<OwnJournal::Entry> OwnJournal::Standing(const std::string& /*device*/)
{
    return {};
}

void OwnJournal::Enter(const Entry& /*entry*/) {}

void OwnJournal::Drop(const Entry& /*entry*/) {}

#endif

bool OwnJournal::Names(const ObjectKind& kind, const std::string& device, const std::string& id,
                       const std::string& name)
{
    const std::vector<Entry> entries = Standing(device);
    return std::any_of(entries.begin(), entries.end(), [&](const Entry& entry) {
        return entry.kind == kind.words && entry.name == name && (entry.id == id || entry.id.empty());
    });
}
