#include "tests/integration/stage.h"

#include "common/framework/security.h"
#include "disklib/zav_storage_disk_lib.h"

#include <json/reader.h>

#include <boost/filesystem/operations.hpp>

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace fs = boost::filesystem;

namespace {

int NextNumber()
{
    static std::atomic<int> count(0);
    constexpr int FIRST = 4096; // leaves 127.0.x.x to others
    constexpr int RANGE = (1 << 20) - FIRST;
    constexpr int STEP = 7919; // processes that start at once have numbers that lie close together
    return FIRST + (getpid() + ++count * STEP) % RANGE;
}

std::string ProgramFolder()
{
    return fs::read_symlink("/proc/self/exe").parent_path().string();
}

} // namespace

std::string ProgramPath(const std::string& name)
{
    return ProgramFolder() + "/" + name;
}

Stage::Stage()
    : m_number(NextNumber())
{
    fs::create_directories(fs::path(ProgramFolder()).parent_path() / "conf");
    for (const char* const folder : {"node/bin", "product/bin", "product/conf", "ca"}) {
        fs::create_directories(fs::path(Directory()) / folder);
    }
    fs::copy_file(ProgramPath("zavctl"), ProductPath("bin/zavctl"));
    m_settings = {{"Log.File", m_folder.File("library.log")},
                  {"Security.KeyFile", m_folder.File("product.key")},
                  {"Shell.Path", Directory() + "/node/bin:" + ProgramPath("node")},
                  {"Cert.AlertDir", m_folder.File("alerts")}};
    WriteConfiguration();
    MakeNode();
    setenv("PRODUCT_STORAGE_CONFIG", (m_folder.File("backupnode.ini")).c_str(), 1);
    unsetenv("ZAVCTL_ENV");
    setenv("ZAVSIM_NODE_INITIATOR_FILE", (m_folder.File("node/initiatorname.iscsi")).c_str(), 1);
    setenv("ZAVSIM_NODE_STATE", (m_folder.File("node/state")).c_str(), 1);
}

Stage::~Stage()
{
    ZavStorageDiskLib::GetInstance()->StopCheckThread();
    RunToEnd({ProgramPath("node/iscsiadm"), "-m", "node", "-u"});
    if (m_hasTargets) {
        RunToEnd({ProgramPath("zavsim-target"), "stop", "--folder", m_folder.File("targets")});
    }
    for (const std::unique_ptr<Array>& array : m_arrays) {
        fs::remove(RecordPath(*array));
    }
    m_arrays.clear();
    m_clusters.clear();
}

std::string Stage::Address(int number) const
{
    constexpr int PER_TEST = 16;
    const int host = m_number * PER_TEST + number;
    return "127." + std::to_string(host >> 16) + "." + std::to_string((host >> 8) & 255) + "." +
           std::to_string(host & 255);
}

Array& Stage::StartArray(ArrayOptions options)
{
    const int index = static_cast<int>(m_arrays.size());
    constexpr int FIRST_SERVICE_ADDRESS = 8;
    if (options.serial.empty()) {
        options.serial = "21" + std::to_string(m_number) + std::to_string(index);
    }
    if (options.managementIps.empty()) {
        options.managementIps = {Address(2 * index)};
    }
    if (options.serviceIps.empty()) {
        options.serviceIps = {Address(FIRST_SERVICE_ADDRESS + index)};
    }
    if (options.caFolder.empty()) {
        options.caFolder = CaFolder();
    }
    m_arrays.push_back(std::make_unique<Array>(options));
    if (options.caFolder == CaFolder()) {
        TrustCaFolder();
    }
    return *m_arrays.back();
}

Array& Stage::StartServedArray(const ArrayOptions& options)
{
    Array& array = StartArray(options);
    StartTargets(array.Options().serviceIps);
    return array;
}

Cluster& Stage::StartCluster(ClusterOptions options)
{
    constexpr int FIRST_ADDRESS = 12;
    const int place = FIRST_ADDRESS + 2 * static_cast<int>(m_clusters.size());
    if (options.addresses.empty()) {
        options.addresses = {Address(place), Address(place + 1)};
    }
    if (options.caFolder.empty()) {
        options.caFolder = CaFolder();
    }
    m_clusters.push_back(std::make_unique<Cluster>(options));
    if (options.caFolder == CaFolder()) {
        TrustCaFolder();
    }
    return *m_clusters.back();
}

// The file is there since a simulator made it.
void Stage::TrustCaFolder()
{
    Configure({{"Http.CaFile", CaFolder() + "/ca.pem"}});
}

void Stage::StartTargets(const std::vector<std::string>& addresses)
{
    Process::Arguments command = {ProgramPath("zavsim-target"), "start", "--folder", m_folder.File("targets")};
    command.insert(command.end(), addresses.begin(), addresses.end());
    m_hasTargets = true;
    const Base::ProgramResult outcome = RunToEnd(command);
    if (outcome.status != 0) {
        throw std::runtime_error("no iSCSI targets: " + outcome.output + outcome.errors);
    }
}

EnvironmentPath Stage::EnvironmentOf(const Array& array) const
{
    EnvironmentPath env;
    env.add_management_ips(array.Options().managementIps.front());
    env.add_user_names("admin");
    env.add_encrypted_passwords(EncryptedPassword());
    env.add_certificates("array");
    env.add_ports(Array::PORT);
    env.add_protocols(array.Options().protocol == "http" ? 1 : 0);
    for (const std::string& address : array.Options().managementIps) {
        env.add_all_management_ips(address);
    }
    return env;
}

std::string Stage::EnvironmentFileOf(const Array& array) const
{
    const auto quoted = [](const std::string& text) { return "\"" + text + "\""; };
    std::string allIps;
    for (const std::string& address : array.Options().managementIps) {
        allIps += (allIps.empty() ? "" : ", ") + quoted(address);
    }
    const std::string path = Directory() + "/" + array.Options().serial + ".json";
    WriteText(path, R"({"managementIps": [)" + quoted(array.Options().managementIps.front()) +
                        R"(], "userNames": ["admin"], "encryptedPasswords": [)" + quoted(EncryptedPassword()) +
                        R"(], "certificates": ["array"], "ports": [)" + std::to_string(Array::PORT) +
                        R"(], "protocols": [)" + (array.Options().protocol == "http" ? "1" : "0") +
                        R"(], "allManagementIps": [)" + allIps + "]}\n");
    return path;
}

void Stage::Change(const std::string& file, const std::string& from, const std::string& to)
{
    std::string text = ReadText(file);
    const std::size_t place = text.find(from);
    if (place == std::string::npos) {
        throw std::runtime_error(file + " has no " + from);
    }
    WriteText(file, text.replace(place, from.size(), to));
}

void Stage::SetFcPorts(const std::vector<std::string>& portNames) const
{
    const fs::path folder = fs::path(Directory()) / "node/fc_host";
    fs::remove_all(folder);
    for (std::size_t i = 0; i < portNames.size(); ++i) {
        const fs::path host = folder / ("host" + std::to_string(i));
        fs::create_directories(host);
        WriteText((host / "port_name").string(), portNames[i] + "\n");
        WriteText((host / "port_state").string(), "Online\n");
    }
}

void Stage::SetFcPort(const Array& array, const std::string& state, bool isSeenByTheArray) const
{
    SetFcPorts({std::string("0x") + WWPN});
    WriteText(m_folder.File("node/fc_host/host0/port_state"), state + "\n");
    array.SetFcPortOnline(WWPN, isSeenByTheArray);
}

void Stage::SetInitiatorFile(const std::string& content) const
{
    WriteText(m_folder.File("node/initiatorname.iscsi"), content);
}

void Stage::Configure(const std::map<std::string, std::string>& settings)
{
    for (const auto& [name, value] : settings) {
        m_settings[name] = value;
    }
    WriteConfiguration();
}

Base::ProgramResult Stage::RunZavctl(const Process::Arguments& arguments, const std::string& input) const
{
    Process::Arguments command = {ProductPath("bin/zavctl")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunToEnd(command, {}, input);
}

std::unique_ptr<Process> Stage::StartZavctl(const Process::Arguments& arguments, const std::string& input) const
{
    Process::Arguments command = {ProductPath("bin/zavctl")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return std::make_unique<Process>(command, Process::Arguments(), input);
}

std::string Stage::RecordPath(const Array& array) const
{
    return fs::path(ProgramFolder()).parent_path().string() + "/conf/" + array.Options().serial + "-info.conf";
}

std::string Stage::ZavctlRecordPath(const Array& array) const
{
    return ProductPath("conf/" + array.Options().serial + "-info.conf");
}

std::map<std::string, std::string> Stage::ReadRecord(const std::string& path)
{
    Json::Value root;
    std::string errors;
    std::istringstream stream(ReadText(path));
    if (!Json::parseFromStream(Json::CharReaderBuilder(), stream, &root, &errors) || root.size() != 1) {
        throw std::runtime_error(path + " does not hold one record: " + ReadText(path));
    }
    std::map<std::string, std::string> record;
    const Json::Value& members = *root.begin();
    for (const std::string& name : members.getMemberNames()) {
        record[name] = members[name].asString();
    }
    return record;
}

std::string Stage::LogText() const
{
    return ReadText(m_folder.File("library.log"));
}

// The files that a Linux node has under /etc, /sys and /run, and programs that find them here; beside the stand-in the
// daemon that it would talk to.
void Stage::MakeNode() const
{
    SetInitiatorFile("## DO NOT EDIT OR REMOVE THIS FILE!\nInitiatorName=" + std::string(NODE_IQN) + "\n");
    WriteText(m_folder.File("node/unix_sockets"),
              "0000000000000000: 00000002 00000000 00010000 0001 01 20480 @ISCSIADM_ABSTRACT_NAMESPACE\n");
    WriteProgram(m_folder.File("node/bin/iscsid"), "echo 'iscsid version 2.1.8'\n");
    for (const std::string name : {"cat", "ls", "stat"}) {
        WriteProgram(m_folder.File("node/bin/" + name), "node='" + Directory() + "/node'\n" + R"(
for word do
    shift
    case $word in
        /etc/iscsi/*) word=$node/${word#/etc/iscsi/} ;;
        /proc/net/unix) word=$node/unix_sockets ;;
        /run/lock/iscsi/*) word=$node/${word#/run/lock/iscsi/} ;;
        /sys/class/fc_host*)
            word=$node/fc_host${word#/sys/class/fc_host}
            case $word in *'*'*) set -- "$@" $word && continue ;; esac ;;
    esac
    set -- "$@" "$word"
done
)" + "exec /bin/" + name + " \"$@\"\n");
    }
}

void Stage::WriteConfiguration() const
{
    std::map<std::string, std::string> sections;
    for (const auto& [name, value] : m_settings) {
        const std::size_t dot = name.find('.');
        sections[name.substr(0, dot)] += name.substr(dot + 1) + " = " + value + "\n";
    }
    std::string content;
    for (const auto& [section, keys] : sections) {
        content += "[" + section + "]\n" + keys;
    }
    WriteText(m_folder.File("backupnode.ini"), content);
}

std::string Stage::EncryptedPassword() const
{
    std::string cipher;
    std::string errorText;
    if (!SecuritySS::ZelkEncryptInfo(PASSWORD, cipher, errorText)) {
        throw std::runtime_error("no encrypted password: " + errorText);
    }
    return cipher;
}
