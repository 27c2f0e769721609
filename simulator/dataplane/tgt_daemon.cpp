#include "simulator/dataplane/tgt_daemon.h"

#include "base/program.h"
#include "simulator/dataplane/first_failure.h"

#include <sstream>
#include <stdexcept>

namespace ZavSim {

namespace {

constexpr std::chrono::seconds PATIENCE(10);

} // namespace

TgtDaemon::TgtDaemon(const std::string& socket)
    : m_socket(socket)
{
    const std::size_t point = socket.rfind('.');
    if (point == 0 || point == std::string::npos || !ParseNumber(socket.substr(point + 1))) {
        throw std::invalid_argument("--tgt-socket: \"" + socket +
                                    "\" does not end in a point and a number, as tgtd's control sockets do");
    }
    m_setting = "TGT_IPC_SOCKET=" + socket.substr(0, point);
    m_port = socket.substr(point + 1);
}

std::map<int, TgtDaemon::ListedTarget> TgtDaemon::ListTargets() const
{
    std::map<int, ListedTarget> targets;
    std::istringstream lines(Administer({"--op", "show", "--mode", "target"}));
    const std::string targetBegin = "Target ";
    const std::string lunBegin = "        LUN: ";
    ListedTarget* last = nullptr;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": "); // "Target 1: iqn…"
        if (line.rfind(targetBegin, 0) == 0 && colon != std::string::npos) {
            last = &targets[std::stoi(line.substr(targetBegin.size(), colon - targetBegin.size()))];
            last->name = line.substr(colon + 2);
        } else if (line.rfind(lunBegin, 0) == 0 && last != nullptr) {
            last->luns.insert(static_cast<LunNumber>(std::stoul(line.substr(lunBegin.size()))));
        }
    }
    return targets;
}

void TgtDaemon::AddTarget(int target, const std::string& name) const
{
    Administer({"--op", "new", "--mode", "target", "--tid", std::to_string(target), "-T", name});
}

void TgtDaemon::Bind(int target, const std::string& initiator) const
{
    Administer({"--op", "bind", "--mode", "target", "--tid", std::to_string(target), "--initiator-name", initiator});
}

void TgtDaemon::RemoveTarget(int target) const
{
    Administer({"--op", "delete", "--force", "--mode", "target", "--tid", std::to_string(target)});
}

void TgtDaemon::AddLun(int target, LunNumber number, const BackedLun& lun) const
{
    const std::vector<std::string> which{"--mode", "logicalunit",         "--tid", std::to_string(target),
                                         "--lun",  std::to_string(number)};
    const auto administer = [&](std::vector<std::string> words) {
        words.insert(words.end(), which.begin(), which.end());
        Administer(words);
    };
    administer({"--op", "new", "-b", lun.file, "--blocksize", std::to_string(lun.sectorSize)});
    try {
        administer({"--op", "update", "--params",
                    "vendor_id=ZAVSIM,product_id=LUN,scsi_id=" + lun.wwn + ",scsi_sn=" + lun.wwn});
    } catch (const std::exception&) {
        TakeBack([&] { RemoveLun(target, number); });
        throw;
    }
}

void TgtDaemon::RemoveLun(int target, LunNumber number) const
{
    Administer(
        {"--op", "delete", "--mode", "logicalunit", "--tid", std::to_string(target), "--lun", std::to_string(number)});
}

std::string TgtDaemon::Administer(const std::vector<std::string>& words) const
{
    std::vector<std::string> all{"tgtadm", "-C", m_port, "--lld", "iscsi"};
    all.insert(all.end(), words.begin(), words.end());
    Base::ProgramResult result;
    try {
        result = Base::RunProgram(all, {m_setting}, PATIENCE);
    } catch (const Base::NotStarted& error) {
        throw std::runtime_error("the tgtd at " + m_socket + ": " + error.what() + " (Debian: package tgt)");
    } catch (const std::exception& error) {
        throw std::runtime_error("the tgtd at " + m_socket + ": " + error.what());
    }
    if (result.status == 0) {
        return result.output;
    }
    std::string line = "tgtadm";
    for (const std::string& word : words) {
        line += " " + word;
    }
    const std::string said = result.errors.substr(0, result.errors.find_last_not_of('\n') + 1);
    throw std::runtime_error("the tgtd at " + m_socket + ": \"" + line + "\" ended with " +
                             std::to_string(result.status) + ": " + said);
}

} // namespace ZavSim
