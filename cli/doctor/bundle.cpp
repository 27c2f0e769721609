#include "cli/doctor/bundle.h"

#include "base/descriptor.h"
#include "base/files.h"
#include "base/program.h"
#include "base/secret.h"
#include "cli/console/failure.h"
#include "cli/console/farewell.h"
#include "cli/console/report.h"
#include "cli/console/within.h"
#include "cli/doctor/array_answers.h"
#include "cli/doctor/report_json.h"
#include "cli/doctor/secret_mask.h"
#include "cli/node/node_shell.h"
#include "cli/node/own_files.h"
#include "cli/record/own_journal.h"
#include "common/environment.h"
#include "common/framework/config_reader.h"
#include "common/framework/security.h"
#include "common/json_text.h"
#include "common/secret_session.h"
#include "rest/zav_rest_api.h"

#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem.hpp>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

namespace fs = boost::filesystem;

namespace Doctor::Bundle {

namespace {

constexpr unsigned int OWNER_ALONE = 0600;
constexpr std::size_t MOST_OF_A_FILE = 1024UL * 1024; // its end: the log's matters most
constexpr std::chrono::seconds LIMIT_OF_TAR{10};
constexpr std::chrono::seconds LIMIT_OF_THE_ARRAY{5};
constexpr std::chrono::seconds LIMIT_OF_THE_TOOLS{5};
constexpr const char* FOLDER = "zavctl-doctor";

/// A folder of our own, which nobody else can look into, for as long as it takes. It goes when a signal ends us, too.
class WorkFolder {
public:
    WorkFolder() = default;
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;
    ~WorkFolder() { Remove(); }

    const fs::path& Path() const { return m_path; }

private:
    static fs::path Make()
    {
        std::string path = (fs::temp_directory_path() / "zavctl-XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr) {
            throw Failure(ExitCode::Unusable, path + ": " + Base::ErrorText(errno));
        }
        return path;
    }

    // Whoever fills it may add a file meanwhile.
    void Remove() const
    {
        boost::system::error_code error;
        do {
            fs::remove_all(m_path, error);
        } while (error == boost::system::errc::directory_not_empty);
    }

    const fs::path m_path = Make();
    const Farewell m_farewell{[this] { Remove(); }}; // last: it uses the other
};

// Nothing where there is no session any more.
void TakeSession(const ArrayLogin& login, Zav::SessionInfo& session)
{
    try {
        login.Api()->GetSession(session);
    } catch (const std::exception&) { // it is told where the array is asked
        return;
    }
}

/// What is packed, with nothing secret in it.
class Contents {
public:
    Contents(fs::path folder, const Patient& patient)
        : m_folder(std::move(folder))
    {
        fs::create_directory(m_folder);
        std::string password;
        const Secret::ScopedWipe wipePassword(password);
        for (const std::string& cipher : patient.env.encrypted_passwords()) {
            if (SecuritySS::ZelkDecryptInfo(cipher, password)) {
                m_mask.Know(password);
            }
            m_mask.Know(cipher);
        }
        // The array may have fallen silent meanwhile; what comes too late stays with whoever waits for it.
        const auto session = std::make_shared<SecretSession>();
        const auto login = patient.logins.Kept();
        if (login != nullptr && EndsWithin(LIMIT_OF_THE_ARRAY, [login, session] { TakeSession(*login, *session); })) {
            m_mask.Know(session->token);
            m_mask.Know(session->cookie);
        }
    }

    void Add(const std::string& name, const std::string& text) const
    {
        Base::SaveFile((m_folder / name).string(), m_mask.Mask(text), OWNER_ALONE);
    }

    /// A file of the node, or its end where it is long, or why it cannot be read.
    void AddFile(const std::string& name, const std::string& path) const
    {
        if (Base::IsOtherThanFile(path)) { // a device, or a FIFO, which might say nothing for ever
            Add(name, path + " is no regular file\n");
            return;
        }
        try {
            const std::string text = Base::ReadFileIfThere(path).value_or("there is no " + path + "\n");
            Add(name, text.size() > MOST_OF_A_FILE ? text.substr(text.size() - MOST_OF_A_FILE) : text);
        } catch (const std::exception& error) {
            Add(name, std::string(error.what()) + "\n");
        }
    }

private:
    const fs::path m_folder;
    SecretMask m_mask;
};

std::string AnswerOf(const std::string& command)
{
    try {
        const NodeShell::Answer answer = NodeShell::Ask(command);
        return boost::join(answer.output, "\n") + "\n" +
               (answer.errors.empty() ? "" : boost::join(answer.errors, "\n") + "\n");
    } catch (const std::exception& error) {
        return std::string(error.what()) + "\n";
    }
}

// One that hangs keeps none of the others from being told.
std::string Versions()
{
    const std::vector<std::string> commands = {"uname -srvm", "cat /etc/os-release", "iscsiadm --version",
                                               "iscsid --version", "iscsiadm -m session"};
    std::vector<std::shared_ptr<std::string>> answers;
    std::vector<std::function<void()>> works;
    for (const std::string& command : commands) {
        const auto answer = std::make_shared<std::string>();
        answers.push_back(answer);
        works.emplace_back([command, answer] { *answer = AnswerOf(command); });
    }
    const std::vector<bool> haveEnded = WhichEndWithin(LIMIT_OF_THE_TOOLS, std::move(works));
    std::string text = std::string("zavctl ") + PRODUCT_STORAGE_VERSION + ", " + Report::Now() + "\n";
    for (std::size_t i = 0; i < commands.size(); ++i) {
        text += "\n$ " + commands[i] + "\n" +
                (haveEnded[i] ? *answers[i] : "no end within " + std::to_string(LIMIT_OF_THE_TOOLS.count()) + " s\n");
    }
    return text;
}

std::string Settings()
{
    std::vector<ConfigReader::Setting> settings;
    std::string text = boost::join(ConfigReader::check(settings), "\n") + "\n";
    for (const ConfigReader::Setting& setting : settings) {
        text += "[" + setting.section + "] " + setting.key + " = " + setting.value +
                (setting.isDefault ? " (default)\n" : "\n");
    }
    return text;
}

// The array may have fallen silent meanwhile.
std::string AnswersWithin(std::chrono::milliseconds limit, const Patient& patient)
{
    const auto answers = std::make_shared<std::string>();
    const auto shared = patient.shared_from_this();
    const bool haveCome = EndsWithin(limit, [answers, shared] {
        try {
            *answers = ArrayAnswers(*shared);
        } catch (const std::exception& error) {
            *answers = std::string(error.what()) + "\n";
        }
    });
    return haveCome ? *answers : "the array did not answer in time\n";
}

void Fill(const Contents& contents, const Patient& patient, const std::vector<Told>& findings)
{
    contents.Add("versions.txt", Versions());
    contents.Add("findings.json", JsonText::Write(ToJson(findings)) + "\n");
    contents.AddFile("configuration.ini", ConfigReader::getFile());
    contents.Add("settings.txt", Settings());
    for (const std::string& record : OwnFiles::RecordsIn(OwnFiles::RecordFolder())) {
        contents.AddFile(fs::path(record).filename().string(), record);
    }
    if (OwnJournal::IsKept()) {
        contents.AddFile("san-journal", OwnJournal::Path());
    }
    const std::string log = OwnFiles::SettingText("Log", "File");
    if (!log.empty()) {
        contents.AddFile("log-tail.txt", log);
    }
    if (patient.HasEnvironment()) {
        // Of one that cannot be read nobody knows where its secrets are.
        contents.Add("environment.json", Environment::MissingList(patient.env) == nullptr
                                             ? patient.environmentText
                                             : "left out: it cannot be read as an environment\n");
        contents.Add("answers.jsonl", AnswersWithin(LIMIT_OF_THE_ARRAY, patient));
    }
}

std::string Packed(const fs::path& folder)
{
    Base::Program tar({"tar", "--create", "--gzip", "--owner=0", "--group=0", "--directory", folder.string(), FOLDER});
    const Farewell ended([&tar] { tar.Signal(SIGKILL); });
    const std::optional<int> status = tar.WaitFor(LIMIT_OF_TAR);
    if (!status) {
        throw std::runtime_error("tar did not end within " + std::to_string(LIMIT_OF_TAR.count()) + " seconds");
    }
    if (*status != 0) {
        throw Failure(ExitCode::Unusable, "tar: " + tar.Errors());
    }
    return tar.Output();
}

// A file that came meanwhile is not overwritten either. No part is left.
int WriteNew(const std::string& path, const std::string& bytes)
{
    const Base::Descriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, OWNER_ALONE));
    if (!file.IsOpen()) {
        return errno;
    }
    int error = Base::WriteWhole(file.Get(), bytes);
    if (error == 0 && ::fsync(file.Get()) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(path.c_str());
    }
    return error;
}

Failure Unwritable(const std::string& path, int error)
{
    return {ExitCodeOfFile(error), "bundle " + path + ": " + Base::ErrorText(error)};
}

} // namespace

void RequirePlace(const std::string& path, bool mayOverwrite)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) == 0 && !mayOverwrite) {
        throw Unwritable(path, EEXIST);
    }
    if (Base::IsOtherThanFile(path)) {
        throw Failure(ExitCode::Unusable, "bundle " + path + ": it is there, and no regular file");
    }
    const std::string folder = fs::absolute(path).parent_path().string();
    if (::faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) != 0) {
        throw Unwritable(path, errno);
    }
}

void Write(const std::string& path, bool mayOverwrite, const Patient& patient, const std::vector<Told>& findings)
{
    try {
        const WorkFolder folder;
        Fill(Contents(folder.Path() / FOLDER, patient), patient, findings);
        const std::string bytes = Packed(folder.Path());
        const int error = mayOverwrite ? Base::ReplaceFile(path, bytes, OWNER_ALONE) : WriteNew(path, bytes);
        if (error != 0) {
            throw Unwritable(path, error);
        }
    } catch (const Failure&) {
        throw;
    } catch (const std::exception& error) {
        throw Failure(ExitCode::Unusable, "bundle " + path + ": " + error.what());
    }
}

} // namespace Doctor::Bundle
