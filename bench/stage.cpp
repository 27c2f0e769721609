#include "bench/stage.h"

#include "common/framework/config_reader.h"
#include "common/framework/security.h"

#include <curl/curl.h>
#include <json/reader.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr const char* LISTENING = "zavsim: listening on ";

Process::Arguments CommandOf(const std::string& program, const std::string& authority, int luns,
                             const Process::Arguments& further)
{
    Process::Arguments command = {program,  "--listen",           "https://127.0.0.1:0", "--ca",  authority,
                                  "--luns", std::to_string(luns), "--session-limit",     "10000", "--connections",
                                  "1000"};
    command.insert(command.end(), further.begin(), further.end());
    return command;
}

std::size_t Append(char* bytes, std::size_t size, std::size_t count, void* body)
{
    static_cast<std::string*>(body)->append(bytes, size * count);
    return size * count;
}

} // namespace

SimulatedArray::SimulatedArray(const std::string& program, const std::string& authority, int luns,
                               const Process::Arguments& further)
    : m_authority(authority)
    , m_process(CommandOf(program, authority, luns, further))
{
    m_process.AwaitLine(LISTENING);
    const std::string said = m_process.Output();
    const std::size_t begin = said.find(LISTENING) + std::string(LISTENING).size();
    m_url = said.substr(begin, said.find(' ', begin) - begin);
}

int SimulatedArray::Port() const
{
    return std::stoi(m_url.substr(m_url.rfind(':') + 1));
}

std::string SimulatedArray::Steer(const char* method) const
{
    const std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> handle(curl_easy_init(), curl_easy_cleanup);
    std::string body;
    curl_easy_setopt(handle.get(), CURLOPT_URL, (m_url + "/zavsim/journal").c_str());
    curl_easy_setopt(handle.get(), CURLOPT_CAINFO, (m_authority + "/ca.pem").c_str());
    curl_easy_setopt(handle.get(), CURLOPT_CUSTOMREQUEST, method);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(handle.get(), CURLOPT_WRITEDATA, &body);
    if (curl_easy_perform(handle.get()) != CURLE_OK) {
        throw std::runtime_error("the simulated array gives no journal");
    }
    return body;
}

std::vector<SimulatedArray::Request> SimulatedArray::TakeRequests() const
{
    std::istringstream text(Steer("GET"));
    Steer("DELETE");
    Json::Value journal;
    text >> journal;
    std::vector<Request> requests;
    const std::string prefix = "/deviceManager/rest/";
    for (const Json::Value& entry : journal["entries"]) {
        const std::string target = entry["target"].asString();
        if (target.rfind(prefix, 0) == 0) {
            requests.push_back({entry["method"].asString(), target.substr(target.find('/', prefix.size()) + 1),
                                entry["connection"].asUInt64()});
        }
    }
    return requests;
}

double SimulatedArray::TakeConnections() const
{
    std::set<std::uint64_t> connections;
    for (const Request& request : TakeRequests()) {
        connections.insert(request.connection);
    }
    return static_cast<double>(connections.size());
}

Stage& Stage::Get()
{
    static Stage stage;
    return stage;
}

Stage::Stage()
{
    m_array = StartArray(LUNS);
    setenv("PRODUCT_STORAGE_CONFIG", m_folder.File("backupnode.ini").c_str(), 1);
    SetLogLevel(4);
    // The framework starts libcurl with the first request: whoever uses libcurl by hand comes after it.
    std::string error;
    LogIn(*m_array)->Logout(error);
}

std::string Stage::ProgramPath(const std::string& name)
{
    return (fs::read_symlink("/proc/self/exe").parent_path() / name).string();
}

Zav::DeviceInfo Stage::DeviceOf(const SimulatedArray& array)
{
    Zav::DeviceInfo device;
    device.url = array.Url();
    device.user = USER;
    device.password = PASSWORD;
    return device;
}

std::unique_ptr<ZavRestApi> Stage::LogIn(const SimulatedArray& array)
{
    auto api = std::make_unique<ZavRestApi>("");
    std::string error;
    if (api->Login(array.Url(), USER, PASSWORD, error) != 0) {
        throw std::runtime_error("no login into the simulated array: " + error);
    }
    return api;
}

std::unique_ptr<SimulatedArray> Stage::StartArray(int luns, const Process::Arguments& further) const
{
    return std::make_unique<SimulatedArray>(ProgramPath("zavsim"), m_folder.File("ca"), luns, further);
}

std::string Stage::EnvironmentFileOf(const SimulatedArray& array) const
{
    std::string cipher;
    std::string error;
    if (!SecuritySS::ZelkEncryptInfo(PASSWORD, cipher, error)) {
        throw std::runtime_error("no encrypted password: " + error);
    }
    const std::string name = "environment-" + std::to_string(array.Port()) + ".json";
    m_folder.Write(name, R"({"managementIps": ["127.0.0.1"], "userNames": ["admin"], "encryptedPasswords": [")" +
                             cipher + R"("], "certificates": ["array"], "ports": [)" + std::to_string(array.Port()) +
                             R"(], "protocols": [0], "allManagementIps": ["127.0.0.1"]})");
    return m_folder.File(name);
}

void Stage::SetLogLevel(int level) const
{
    m_folder.Write("backupnode.ini",
                   "[Product]\nRoot = " + Folder() + "\n[Log]\nFile = " + Folder() +
                       "/library.log\nLevel = " + std::to_string(level) +
                       "\n[BackupNode]\nDosRequestInterval = 0\n[Http]\nCaFile = " + CertificateAuthority() +
                       "\n[Security]\nKeyFile = " + Folder() + "/product.key\n[Shell]\nPath = " + Folder() + "/bin\n");
    // A file that has just changed is read anew with each look; then it is known by its state alone.
    constexpr std::chrono::milliseconds UNTIL_SETTLED(100);
    std::this_thread::sleep_for(UNTIL_SETTLED);
    ConfigReader::getInt("BackupNode", "DosRequestInterval", true);
}
