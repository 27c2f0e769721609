// Keeps this node prepared on a storage array, and reads from it, until it is told to stop:
// service ENVIRONMENT-FILE [SECONDS BETWEEN TWO LOOKS]
#include "common/framework/product_messages.pb.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/zav_rest_api.h"

#include <google/protobuf/util/json_util.h>

#include <string.h>

#include <csignal>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

namespace {

bool ReadEnvironment(const char* path, EnvironmentPath& environment)
{
    std::ifstream file(path);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return file && google::protobuf::util::JsonStringToMessage(text, &environment).ok();
}

// The session that Init logged in: who asks for the same URL shares it. It is logged out five seconds after the last
// holder let it go; then this is a new one.
int OpenSession(const EnvironmentPath& environment, boost::shared_ptr<ZavRestApi>& session)
{
    Zav::DeviceInfo array;
    std::string error;
    ZavStorageDiskLib* const storage = ZavStorageDiskLib::GetInstance();
    storage->GetDeviceInfoByEnv(environment, array.url, array.user, array.password);
    const int code = storage->GetLoginedZavRestApi(array, session, error);
    explicit_bzero(array.password.data(), array.password.size()); // the plain password is the caller's to wipe
    return code;
}

void PrintLuns(const EnvironmentPath& environment)
{
    boost::shared_ptr<ZavRestApi> session;
    std::vector<Zav::LunInfo> luns;
    std::string error;
    if (OpenSession(environment, session) != 0 || session->GetLunListByPage(0, 10, luns, error) != 0) {
        std::cerr << "the array's LUNs cannot be read: the log tells why\n";
        return;
    }
    for (const Zav::LunInfo& lun : luns) {
        std::cout << "LUN " << lun.id << ' ' << lun.name << ", " << lun.capacity << " bytes\n";
    }
    std::cout << std::flush;
}

void LogOut(const EnvironmentPath& environment)
{
    boost::shared_ptr<ZavRestApi> session;
    std::string error;
    if (OpenSession(environment, session) == 0) {
        session->Logout(error); // at the process's end sessions are let go without a logout
    }
}

} // namespace

int main(int argc, char** argv)
{
    EnvironmentPath environment;
    if (argc < 2 || !ReadEnvironment(argv[1], environment)) {
        std::cerr << "usage: service ENVIRONMENT-FILE [SECONDS]\n";
        return 2;
    }
    sigset_t stop; // blocked before the library has threads, which inherit that
    sigemptyset(&stop);
    sigaddset(&stop, SIGINT);
    sigaddset(&stop, SIGTERM);
    sigprocmask(SIG_BLOCK, &stop, nullptr);

    const timespec pause = {argc > 2 ? std::stol(argv[2]) : 60, 0};
    bool isPrepared = false;
    do {
        ZavMapInfo mapInfo;
        const bool wasPrepared = isPrepared;
        isPrepared = ZavStorageDiskLib::GetInstance()->Init(environment, mapInfo);
        if (!isPrepared) {
            std::cerr << "not prepared: the log tells why\n";
        } else if (!wasPrepared) {
            std::cout << "LUNs of group " << mapInfo.lun_group_names(0) << " are this node's\n";
            PrintLuns(environment);
        }
    } while (sigtimedwait(&stop, nullptr, &pause) < 0);

    LogOut(environment);
    ZavStorageDiskLib::GetInstance()->StopCheckThread();
    std::cout << "stopped\n";
    return isPrepared ? 0 : 1;
}
