// What else a process of the simulated node finds of the product's framework: as plain as its contract allows. The SAN
// provider is the real one.

#include "base/secret.h"
#include "common/framework/cert.h"
#include "common/framework/config_reader.h"
#include "common/framework/log_proxy.h"
#include "common/framework/product_root.h"
#include "common/framework/random_bytes.h"
#include "common/framework/security.h"
#include "common/framework/shell_runner.h"
#include "common/time_source.h"
#include "framework/public/running_commands.h"
#include "tests/simulation/process.h"
#include "tests/simulation/sealed.h"

#include <iostream>
#include <sstream>

using Simulation::Message;
namespace Process = Simulation::Process;

// Clocks.

std::int64_t TimeSource::WallSeconds()
{
    return Process::Setup().page->wallNanoseconds / 1000000000;
}

boost::chrono::steady_clock::time_point TimeSource::SteadyNow()
{
    return boost::chrono::steady_clock::time_point(
        boost::chrono::nanoseconds(Process::Setup().page->steadyNanoseconds));
}

void TimeSource::SleepFor(const boost::chrono::seconds& duration)
{
    if (Process::IsInside()) {
        Process::Sleep(std::chrono::seconds(duration.count()));
    }
}

// Log: dropped, unless somebody wants to read it.

struct LogProxy::Line {
    std::ostringstream text;
};

LogProxy::LogProxy(int level, std::string_view /*module*/, unsigned long /*requestId*/, std::string_view function,
                   int /*line*/)
{
    if (Process::IsInside() && Process::Setup().isTalkative) {
        m_line = std::make_unique<Line>();
        m_line->text << "  " << level << " " << function << ": ";
    }
}

LogProxy::~LogProxy()
{
    if (m_line != nullptr) {
        std::cerr << m_line->text.str() << "\n";
    }
}

LogProxy& LogProxy::operator<<(int value)
{
    if (m_line != nullptr) {
        m_line->text << value;
    }
    return *this;
}

std::ostream& LogProxy::Text()
{
    return m_line->text;
}

std::string_view GetFunctionName(std::string_view signature) noexcept
{
    const std::string_view qualified = signature.substr(0, signature.find('('));
    return qualified.substr(qualified.find_last_of(": *&") + 1);
}

unsigned long QENTSP::get() const noexcept
{
    return 0;
}

void QENTSP::set(unsigned long /*value*/) noexcept {}

QENTSP TSP_RequestID;

// Configuration, credentials, certificates.

int ConfigReader::getInt(const std::string& /*section*/, const std::string& key, bool /*quietDefault*/)
{
    return key == "DosRequestCount" ? 1000000 : 3;
}

std::set<int> ConfigReader::getNerovaxDiskArrayNotRetryErrorCode()
{
    return {};
}

std::string ConfigReader::getFile()
{
    return Process::Setup().folder + "/conf/backupnode.ini";
}

std::string GetVendrixRootPath(const std::string& /*module*/, const unsigned long& /*requestId*/)
{
    return Process::Setup().folder;
}

int getRandBytes(unsigned char* buffer, unsigned int count)
{
    Process::Fill(buffer, count);
    return 1;
}

bool SecuritySS::ZelkDecryptInfo(const std::string& cipher, std::string& plain)
{
    plain = Simulation::Turned(cipher);
    return true;
}

bool Cert::VerifyCertForEnv(const EnvironmentPath& /*env*/, EnvironmentPath& /*result*/,
                            const std::string& /*component*/, VerifiedCertInfo& /*info*/, bool /*raiseAlert*/,
                            const std::string& /*role*/, const unsigned long& /*requestId*/)
{
    return false;
}

void Cert::ResumeAlertForEnv(std::string /*address*/, const std::string& /*role*/, const unsigned long& /*requestId*/)
{
}

// The shell: {exit code, lines of output}.

int runShellCmdWithOutput(const severity_level& /*level*/, const std::string& /*module*/,
                          const unsigned long& /*requestId*/, const std::string& command,
                          std::vector<std::string> params, std::vector<std::string>& out, std::vector<std::string>& err)
{
    const Process::InSystem system;
    Message question = {"shell", command};
    question.insert(question.end(), params.begin(), params.end());
    const Message answer = Process::Ask(question);
    const int code = std::stoi(answer[0]);
    out.assign(answer.begin() + 1, answer.end());
    err.clear();
    if (code != 0) {
        err.swap(out);
    }
    return code;
}

void OpenFramework::EndRunningCommands(std::chrono::milliseconds /*grace*/) {}
