#include "framework/shell/shell_run.h"

#include "base/files.h"
#include "framework/shell/child_process.h"
#include "framework/shell/output_collector.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <csignal>

namespace Framework {

namespace {

using Clock = std::chrono::steady_clock;

constexpr OutputLimit OUTPUT_LIMIT = {16 * 1024 * 1024, 100'000}; // of each stream
constexpr OutputLimit STATUS_LIMIT = {16, 1};

// Between the interrupt and the kill. An iscsiadm that is killed outright leaves the lock of its node database behind,
// for which every later one waits half a minute before it gives up; an interrupted one takes the lock away.
constexpr std::chrono::seconds GRACE(5);

// Between two looks at what the system does not tell by itself.
constexpr int LOOK_MILLISECONDS = 20;

// `wait` is what poll takes: below 0 there is no end to it.
int UntilNextLook(int wait)
{
    return wait < 0 ? LOOK_MILLISECONDS : std::min(wait, LOOK_MILLISECONDS);
}

/// Ends the command's process group when its time is over: first by asking, then by force.
class TimeLimit {
public:
    TimeLimit(const ChildProcess& child, std::chrono::seconds limit)
        : m_child(child)
        , m_nextStep(Clock::now() + limit)
    {
    }

    bool IsOver() const { return m_signalsSent > 0; }
    bool IsForced() const { return m_signalsSent == SIGNALS.size(); }

    /// Takes the step that is due. Returns the milliseconds to the next one; -1 when there is none.
    int Enforce()
    {
        if (!IsForced() && Clock::now() >= m_nextStep) {
            m_child.SignalGroup(SIGNALS[m_signalsSent]);
            ++m_signalsSent;
            m_nextStep += GRACE;
        }
        if (IsForced()) {
            return -1;
        }
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(m_nextStep - Clock::now());
        return static_cast<int>(std::clamp<std::int64_t>(rest.count(), 0, MAX_WAIT_MILLISECONDS));
    }

private:
    static constexpr std::array<int, 2> SIGNALS = {SIGINT, SIGKILL};
    static constexpr std::int64_t MAX_WAIT_MILLISECONDS = 60'000; // the longest that one wait may take, not the limit

    const ChildProcess& m_child;
    Clock::time_point m_nextStep;
    std::size_t m_signalsSent = 0;
};

/// Reads what a shell writes until it has ended.
class ShellWatch {
public:
    ShellWatch(ChildProcess& child, std::chrono::seconds timeLimit)
        : m_child(child)
        , m_limit(child, timeLimit)
        , m_output(child.Pipes().output, OUTPUT_LIMIT)
        , m_error(child.Pipes().error, OUTPUT_LIMIT)
        , m_status(child.Pipes().status, STATUS_LIMIT)
    {
    }

    ShellResult Watch(std::chrono::seconds timeLimit)
    {
        while (!HasEnded()) {
            Wait(m_limit.Enforce());
        }
        m_status.ReadRest();
        const int waited = m_child.Reap();
        WaitForInterrupted();
        m_output.ReadRest();
        m_error.ReadRest();

        ShellResult result = {Status(waited), m_output.Lines(), m_error.Lines()};
        if (m_limit.IsOver()) {
            result.error.push_back("The command was ended after its time limit of " +
                                   std::to_string(timeLimit.count()) + " seconds");
        }
        SayDropped(m_output, "Standard output", result.error);
        SayDropped(m_error, "Standard error", result.error);
        return result;
    }

private:
    bool HasEnded() const { return m_hasEnded || m_status.Text().find('\n') != std::string::npos; }

    void Wait(int milliseconds)
    {
        const std::array<OutputCollector*, 3> collectors = {&m_output, &m_error, &m_status};
        std::array<pollfd, 4> waits = {};
        for (std::size_t index = 0; index < collectors.size(); ++index) {
            waits[index] = {collectors[index]->Pipe(), POLLIN, 0}; // poll overlooks the -1 of a closed one
        }
        waits.back() = {m_hasEnded ? -1 : m_child.Pipes().ended.Get(), POLLIN, 0};
        if (!m_child.Pipes().ended.IsOpen() && !m_hasEnded) {
            m_hasEnded = m_child.HasEnded();
            milliseconds = m_hasEnded ? 0 : UntilNextLook(milliseconds);
        }
        if (::poll(waits.data(), waits.size(), milliseconds) <= 0) {
            return; // the next step of the limit is due, or a signal of the host program came
        }
        for (std::size_t index = 0; index < collectors.size(); ++index) {
            if (waits[index].revents != 0) {
                collectors[index]->ReadOnce();
            }
        }
        m_hasEnded = m_hasEnded || waits.back().revents != 0;
    }

    // A shell that is interrupted ends before the commands that it waits for; they have the grace, too.
    void WaitForInterrupted()
    {
        while (m_limit.IsOver() && !m_limit.IsForced() && m_child.HasGroup()) {
            Wait(UntilNextLook(m_limit.Enforce()));
        }
    }

    int Status(int waited) const
    {
        if (waited >= 0) {
            return waited;
        }
        const std::string& told = m_status.Text();
        int status = ShellStatus::NOT_STARTED;
        if (std::from_chars(told.data(), told.data() + told.size(), status).ec == std::errc()) {
            return status;
        }
        return m_limit.IsOver() ? 128 + (m_limit.IsForced() ? SIGKILL : SIGINT) : ShellStatus::NOT_STARTED;
    }

    static void SayDropped(const OutputCollector& collector, const std::string& stream, std::vector<std::string>& lines)
    {
        if (collector.DroppedBytes() > 0) {
            const std::string limit = collector.IsAtLineLimit() ? std::to_string(OUTPUT_LIMIT.lines) + " lines"
                                                                : std::to_string(OUTPUT_LIMIT.bytes) + " bytes";
            lines.push_back(stream + " was longer than " + limit + "; " + std::to_string(collector.DroppedBytes()) +
                            " bytes were dropped");
        }
    }

    ChildProcess& m_child;
    TimeLimit m_limit;
    OutputCollector m_output;
    OutputCollector m_error;
    OutputCollector m_status;
    bool m_hasEnded = false; // the shell
};

} // namespace

ShellResult RunShell(const std::string& command, const std::vector<std::string>& environment,
                     std::chrono::seconds timeLimit)
{
    ChildProcess child;
    const int failure = child.Start(command, environment);
    if (failure != 0) {
        return {ShellStatus::NOT_STARTED, {}, {"The shell could not be started: " + Base::ErrorText(failure)}};
    }
    return ShellWatch(child, timeLimit).Watch(timeLimit);
}

} // namespace Framework
