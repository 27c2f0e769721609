#include "base/files.h"
#include "cli/console/failure.h"
#include "cli/console/remedies.h"
#include "cli/console/report.h"
#include "cli/doctor/environment_edits.h"
#include "cli/doctor/probes.h"
#include "cli/node/node_initiators.h"
#include "cli/node/node_key.h"
#include "cli/node/node_shell.h"
#include "cli/node/own_files.h"
#include "cli/record/device_record.h"
#include "cli/record/own_journal.h"
#include "cli/record/recorded_objects.h"
#include "common/device_keys.h"
#include "common/framework/product_root.h"
#include "common/json_text.h"

#include <boost/filesystem.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>
#include <map>
#include <set>

namespace fs = boost::filesystem;

// What the product keeps on this node: key, records, journal, log.

namespace Doctor {

namespace {

constexpr unsigned int WRITE_OF_OTHERS = 0022;
constexpr unsigned int ANYTHING_OF_OTHERS = 0077;

std::string FolderOf(const std::string& path)
{
    return fs::path(path).parent_path().string();
}

std::string OctalMode(unsigned int mode)
{
    constexpr unsigned int BITS = 3;
    constexpr unsigned int DIGIT = 7;
    return {'0', static_cast<char>('0' + (mode >> (2 * BITS) & DIGIT)), static_cast<char>('0' + (mode >> BITS & DIGIT)),
            static_cast<char>('0' + (mode & DIGIT))};
}

/// A file as it has to be, where it is there.
struct Rule {
    const char* what;
    unsigned int forbidden; ///< mode bits
    const char* mending;    ///< chmod's word for taking them away
    bool isOfItsFolder;     ///< whoever owns the folder owns it
    bool mayBeStream;       ///< a device or a FIFO does as well
    const char* setting;    ///< that names it; null for none
};

constexpr Rule RECORD = {"record", WRITE_OF_OTHERS, "go-w", true, false, nullptr};
constexpr Rule JOURNAL = {"journal", ANYTHING_OF_OTHERS, "600", true, false, nullptr};
constexpr Rule LOG = {"log", WRITE_OF_OTHERS, "go-w", false, true, "[Log] File"};

std::string Naming(const Rule& rule, const std::string& path)
{
    return std::string("the ") + rule.what + " " + path;
}

// What is neither a file nor a folder is the system's or another program's: it is not to be moved.
Finding NoRegularFile(const Rule& rule, const std::string& path, mode_t mode)
{
    const std::string word = NodeShell::Word(path);
    const bool isFolder = S_ISDIR(mode);
    return {Severity::Error, Naming(rule, path) + " is no regular file",
            isFolder || rule.setting == nullptr
                ? "move away what stands there"
                : std::string("name another file in ") + rule.setting + " of backupnode.ini",
            isFolder ? "mv " + word + " " + word + ".old" : "", ExitCode::Unusable};
}

void LookAtRights(const Rule& rule, const std::string& path, const struct stat& status, const struct stat& folder,
                  Findings& findings)
{
    const std::string word = NodeShell::Word(path);
    const std::string name = Naming(rule, path);
    if ((status.st_mode & rule.forbidden) != 0) {
        findings.push_back({Severity::Warning,
                            name + " has mode " + OctalMode(status.st_mode) + ": others than its owner may " +
                                (rule.forbidden == WRITE_OF_OTHERS ? "write it" : "read or write it"),
                            "take that right away", std::string("chmod ") + rule.mending + " " + word,
                            ExitCode::Unusable});
    }
    if (rule.isOfItsFolder && status.st_uid != folder.st_uid) {
        findings.push_back({Severity::Warning,
                            name + " belongs to user " + std::to_string(status.st_uid) + ", its folder to " +
                                std::to_string(folder.st_uid) + ": the product may not be able to write it",
                            "give it to the owner of the folder",
                            "chown --reference=" + NodeShell::Word(FolderOf(path)) + " " + word, ExitCode::Unusable});
    }
}

// False where an error is told, behind which nothing else about the file is worth a word.
bool LookAtFile(const Rule& rule, const std::string& path, Findings& findings)
{
    struct stat status = {};
    struct stat folder = {};
    if (::stat(path.c_str(), &status) != 0 || ::stat(FolderOf(path).c_str(), &folder) != 0) {
        return true; // it is not there yet, or whoever needs it tells why it cannot be had
    }
    const bool isStream = S_ISCHR(status.st_mode) || S_ISFIFO(status.st_mode);
    if (!S_ISREG(status.st_mode) && !(rule.mayBeStream && isStream)) {
        findings.push_back(NoRegularFile(rule, path, status.st_mode));
        return false;
    }
    if (S_ISREG(status.st_mode)) {
        LookAtRights(rule, path, status, folder, findings);
    }
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) {
        const int error = errno;
        findings.push_back({Severity::Error, Naming(rule, path) + " cannot be written: " + Base::ErrorText(error),
                            RemedyFor("", ExitCodeOfFile(error)), "", ExitCodeOfFile(error)});
        return false;
    }
    return true;
}

// Whether all can be read and written, as a command asks before it makes anything.
void RequireUsable(const std::string& record, Findings& findings)
{
    try {
        DeviceRecord(OwnFiles::DeviceIdOf(record)).RequireWritable();
    } catch (const Failure& failure) {
        const bool isGarbled = std::string(failure.what()).find("device record") != std::string::npos;
        findings.push_back(
            {Severity::Error, failure.what(), RemedyFor(failure.what(), failure.Code()),
             isGarbled ? "mv " + NodeShell::Word(record) + " " + NodeShell::Word(record) + ".garbled" : "",
             failure.Code()});
    }
}

bool IsOfThisNode(const std::string& recordPath, const NodeInitiators& node)
{
    Json::Value root;
    try {
        const auto text = Base::ReadFileIfThere(recordPath);
        if (!text || !JsonText::Parse(*text, root) || !root.isObject()) {
            return false;
        }
    } catch (const std::exception&) {
        return false; // another user's, for one
    }
    return std::any_of(root.begin(), root.end(), [&node](const Json::Value& record) {
        const auto member = [&record](const std::string& name) {
            return record.isObject() && record[name].isString() ? record[name].asString() : "";
        };
        DeviceMessage message;
        message.fcInitiatorName = member(DeviceKey::FC_INITIATOR_NAME);
        const std::set<std::string> ports = RecordedPorts(message);
        return node.Has(member(DeviceKey::ISCSI_INITIATOR_NAME)) || node.Has(member(DeviceKey::IQN)) ||
               std::any_of(ports.begin(), ports.end(), [&node](const std::string& port) { return node.Has(port); });
    });
}

// The folders of records of other product roots: of the configured one, and of those beside this one.
std::set<std::string> OtherRecordFolders()
{
    const fs::path own = OwnFiles::RecordFolder();
    std::set<std::string> folders;
    const auto add = [&](const fs::path& root) {
        boost::system::error_code error;
        const fs::path folder = root / "conf";
        if (fs::is_directory(folder, error) && !fs::equivalent(folder, own, error)) {
            folders.insert(folder.string());
        }
    };
    add(GetVendrixRootPath("zavctl", 0));
    add("/usr"); // of a program in /usr/bin
    add("/usr/local");
    for (const fs::path& neighbours : {own.parent_path().parent_path(), fs::path("/opt")}) {
        boost::system::error_code error;
        for (fs::directory_iterator each(neighbours, error), end; !error && each != end; each.increment(error)) {
            add(each->path());
        }
    }
    return folders;
}

} // namespace

Findings LookAtKey(const Patient& patient, const std::string& /*part*/)
{
    const NodeKey::Finding found = NodeKey::LookAt();
    if (found.problem.empty() || (found.isMissing && !patient.HasEnvironment())) {
        return {}; // a node that knows no array needs none
    }
    const std::string path = OwnFiles::SettingText("Security", "KeyFile");
    std::string command;
    if (found.isMissing) {
        command = Edit::WithNewPassword(patient, true);
    } else if (found.problem.find("mode must be") != std::string::npos) {
        command = "chmod 600 " + NodeShell::Word(path);
    } // one that belongs to another user is that user's: taking it away would lock out whoever runs as that user
    return {
        {Severity::Error, found.problem, RemedyFor(found.problem, ExitCode::Unusable), command, ExitCode::Unusable}};
}

Findings LookAtOwnFiles(const Patient& /*patient*/, const std::string& /*part*/)
{
    Findings findings;
    for (const std::string& record : OwnFiles::RecordsIn(OwnFiles::RecordFolder())) {
        if (LookAtFile(RECORD, record, findings)) {
            RequireUsable(record, findings);
        }
    }
    if (OwnJournal::IsKept() && LookAtFile(JOURNAL, OwnJournal::Path(), findings)) {
        try {
            OwnJournal::RequireWritable();
        } catch (const Failure& failure) {
            findings.push_back(
                {Severity::Error, failure.what(), RemedyFor(failure.what(), failure.Code()), "", failure.Code()});
        }
    }
    const std::string log = OwnFiles::SettingText("Log", "File");
    if (!log.empty()) {
        LookAtFile(LOG, log, findings);
    }
    return findings;
}

Findings LookAtSpace(const Patient& /*patient*/, const std::string& /*part*/)
{
    constexpr std::uintmax_t LITTLE = 16UL * 1024 * 1024; // a log that grows to its full size needs as much
    const std::map<std::string, std::string> kept = {{OwnFiles::RecordFolder(), "records and journal"},
                                                     {FolderOf(OwnFiles::SettingText("Log", "File")), "the log"}};
    Findings findings;
    for (const auto& [folder, what] : kept) {
        struct statvfs space = {};
        if (folder.empty() || ::statvfs(folder.c_str(), &space) != 0) {
            continue;
        }
        const std::uintmax_t free = std::uintmax_t{space.f_bavail} * space.f_frsize;
        if (free < LITTLE) {
            findings.push_back({Severity::Warning,
                                folder + ": " + Report::Size(free) + " are free where " + what + " lie",
                                "make room on that file system", "", ExitCode::Unusable});
        }
    }
    return findings;
}

Findings LookAtOtherRoots(const Patient& /*patient*/, const std::string& /*part*/)
{
    const NodeInitiators node = NodeInitiators::Read();
    Findings findings;
    for (const std::string& folder : OtherRecordFolders()) {
        for (const std::string& record : OwnFiles::RecordsIn(folder)) {
            if (IsOfThisNode(record, node)) {
                findings.push_back(
                    {Severity::Warning,
                     record + ": a second product root has a record of this node; what one of the two makes or takes "
                              "apart, the other does not know of",
                     "leave the node to the root under " + OwnFiles::RecordFolder() +
                         " and move the other's record away; its objects stay, and zavctl orphans names them",
                     "mv " + NodeShell::Word(record) + " " + NodeShell::Word(record) + ".old", ExitCode::Foreign});
            }
        }
    }
    return findings;
}

} // namespace Doctor
