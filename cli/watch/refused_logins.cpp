#include "cli/watch/refused_logins.h"

#include "base/files.h"
#include "cli/array/environment_file.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "common/framework/config_reader.h"

#include <exception>
#include <filesystem>
#include <optional>
#include <system_error>

namespace {

// Differs from file to file: of one that is there, of one that is not, of one that cannot be read.
std::string TextOf(const std::string& path)
{
    try {
        const std::optional<std::string> text = Base::ReadFileIfThere(path);
        return text ? "is there: " + *text : "";
    } catch (const std::exception& error) {
        return error.what();
    }
}

// Standard input and pipes have no more to say.
bool CanBeReadOnce(const std::string& path)
{
    std::error_code ignored;
    return path == STANDARD_INPUT || std::filesystem::is_other(path, ignored);
}

} // namespace

std::string RefusedLogins::InputsOf(const std::string& path)
{
    return TextOf(ConfigReader::getFile()) + (CanBeReadOnce(path) ? "" : TextOf(path));
}

void RefusedLogins::HoldBack(const Preparation::Outcome& outcome)
{
    for (Preparation::Target& target : m_targets) {
        const auto failure = outcome.failures.find(&target);
        if (target.refusal || failure == outcome.failures.end() || failure->second.exit != ExitCode::LoginRefused) {
            continue;
        }
        const Report::About about(target.name);
        Report::Step("waiting for another environment or configuration");
        target.refusal = failure->second;
        m_held[&target] = {};
    }
}

bool RefusedLogins::LetGoWhatChanged()
{
    bool isOneLetGo = false;
    for (Preparation::Target& target : m_targets) {
        const auto held = m_held.find(&target);
        if (held != m_held.end() && LetGo(target, held->second)) {
            m_held.erase(held);
            isOneLetGo = true;
        }
    }
    return isOneLetGo;
}

bool RefusedLogins::LetGo(Preparation::Target& target, Unreadable& unreadable)
{
    const std::string inputs = InputsOf(target.path);
    if (inputs == target.inputs || (inputs == unreadable.inputs && unreadable.isTold)) {
        return false;
    }
    try {
        if (!CanBeReadOnce(target.path)) {
            target.env = ReadEnvironment(target.path);
        }
    } catch (const Failure& failure) {
        unreadable.isTold = inputs == unreadable.inputs; // at the second look: it is not just being written
        unreadable.inputs = inputs;
        if (unreadable.isTold) {
            Report::Tell(std::string(failure.what()) + "; it is waited for");
        }
        return false;
    }
    target.inputs = inputs;
    target.refusal.reset();
    target.login.reset(); // by what the environment said before
    return true;
}
