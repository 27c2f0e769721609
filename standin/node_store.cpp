#include "standin/node_store.h"

#include "base/files.h"
#include "simulator/json/json_io.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace ZavSimNode {

namespace {

constexpr unsigned FOLDER_MODE = 0700;
constexpr unsigned FILE_MODE = 0600;
constexpr mode_t MODE_BITS = 07777;
const std::string SESSION_PREFIX = "session-";

Json::Value ToJson(const NodeRecord& node)
{
    Json::Value value(Json::objectValue);
    value["target"] = node.target;
    value["host"] = node.portal.host;
    value["port"] = node.portal.port;
    value["group"] = node.group;
    return value;
}

NodeRecord NodeFromJson(const Json::Value& value)
{
    return {value["target"].asString(), {value["host"].asString(), value["port"].asInt()}, value["group"].asInt()};
}

Json::Value ToJson(const SessionRecord& session)
{
    Json::Value value(Json::objectValue);
    value["number"] = session.number;
    value["node"] = ToJson(session.node);
    value["initiator"] = session.initiator;
    value["pid"] = session.keeper.pid;
    value["start"] = Json::UInt64(session.keeper.start);
    return value;
}

SessionRecord SessionFromJson(const Json::Value& value)
{
    return {value["number"].asInt(),
            NodeFromJson(value["node"]),
            value["initiator"].asString(),
            {value["pid"].asInt(), value["start"].asUInt64()}};
}

/// Null when there is no such file.
Json::Value LoadJson(const std::string& path)
{
    const auto text = Base::ReadFileIfThere(path);
    if (!text) {
        return {};
    }
    std::string problem;
    auto value = ZavSim::ParseJson(*text, problem);
    if (!value) {
        throw std::runtime_error(path + " is not JSON: " + problem);
    }
    return std::move(*value);
}

void SaveJson(const std::string& path, const Json::Value& value)
{
    Base::SaveFile(path, ZavSim::WriteJsonIndented(value), FILE_MODE);
}

template <typename Convert>
auto ConvertFrom(const std::string& path, Convert convert)
{
    try {
        return convert(LoadJson(path));
    } catch (const Json::Exception& error) {
        throw std::runtime_error(path + " is damaged: " + error.what());
    }
}

} // namespace

std::string StateFolder()
{
    const char* const given = std::getenv("ZAVSIM_NODE_STATE");
    if (given != nullptr && *given != '\0') {
        return given;
    }
    if (::geteuid() == 0 && ::access("/run", W_OK) == 0) {
        return "/run/zavsim-node";
    }
    return "/tmp/zavsim-node-" + std::to_string(::geteuid());
}

NodeStore::NodeStore(std::string folder)
    : m_folder(std::move(folder))
{
    if (::mkdir(m_folder.c_str(), FOLDER_MODE) != 0 && errno != EEXIST) {
        Base::ThrowErrno("cannot make the folder", m_folder);
    }
    struct stat status = {};
    if (::lstat(m_folder.c_str(), &status) != 0) {
        Base::ThrowErrno("cannot look at", m_folder);
    }
    if (!S_ISDIR(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & MODE_BITS) != FOLDER_MODE) {
        throw std::runtime_error(m_folder + " must be a folder of this user with mode 0700");
    }
}

NodeStore::Lock::Lock(const NodeStore& store)
    : m_lock(store.m_folder + "/lock")
{
    m_lock.Lock();
}

std::vector<NodeRecord> NodeStore::LoadNodes() const
{
    return ConvertFrom(m_folder + "/nodes.json", [](const Json::Value& list) {
        std::vector<NodeRecord> nodes;
        for (const Json::Value& value : list) {
            nodes.push_back(NodeFromJson(value));
        }
        return nodes;
    });
}

void NodeStore::AddNodes(const std::vector<NodeRecord>& nodes) const
{
    std::vector<NodeRecord> all = LoadNodes();
    for (const NodeRecord& node : nodes) {
        if (std::find(all.begin(), all.end(), node) == all.end()) {
            all.push_back(node);
        }
    }
    SaveNodes(all);
}

bool NodeStore::RemoveNode(const NodeRecord& node) const
{
    std::vector<NodeRecord> all = LoadNodes();
    const auto end = std::remove(all.begin(), all.end(), node);
    if (end == all.end()) {
        return false;
    }
    all.erase(end, all.end());
    SaveNodes(all);
    return true;
}

void NodeStore::SaveNodes(const std::vector<NodeRecord>& nodes) const
{
    Json::Value list(Json::arrayValue);
    for (const NodeRecord& node : nodes) {
        list.append(ToJson(node));
    }
    SaveJson(m_folder + "/nodes.json", list);
}

std::vector<SessionRecord> NodeStore::LoadSessions() const
{
    std::vector<SessionRecord> sessions;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        const std::string name = entry.path().filename().string();
        if (name.rfind(SESSION_PREFIX, 0) != 0 || entry.path().extension() != ".json") {
            continue;
        }
        const SessionRecord session = ConvertFrom(entry.path().string(), &SessionFromJson);
        if (session.keeper.IsAlive()) {
            sessions.push_back(session);
        } else {
            ::unlink(entry.path().c_str());
        }
    }
    std::sort(sessions.begin(), sessions.end(),
              [](const SessionRecord& left, const SessionRecord& right) { return left.number < right.number; });
    return sessions;
}

void NodeStore::AddSession(SessionRecord& session) const
{
    const std::string counterPath = m_folder + "/last-session.json";
    session.number = ConvertFrom(counterPath, [](const Json::Value& last) { return last["number"].asInt(); }) + 1;
    Json::Value last(Json::objectValue);
    last["number"] = session.number;
    SaveJson(counterPath, last);
    SaveJson(SessionPath(session.number), ToJson(session));
}

void NodeStore::RemoveSession(int number) const
{
    ::unlink(SessionPath(number).c_str());
}

std::string NodeStore::SessionPath(int number) const
{
    return m_folder + "/" + SESSION_PREFIX + std::to_string(number) + ".json";
}

} // namespace ZavSimNode
