#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

// Programs that were built against the library find its classes by these names. A name that goes missing breaks them;
// one that leaks out becomes a promise that nobody meant to make.

namespace {

using ::testing::HasSubstr;
using ::testing::UnorderedElementsAreArray;

std::string Output(const std::string& command)
{
    std::string output;
    FILE* const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return "cannot run " + command;
    }
    std::array<char, 4096> piece = {};
    for (std::size_t count = 0; (count = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;) {
        output.append(piece.data(), count);
    }
    const int status = pclose(pipe);
    return status == 0 ? output : command + " ended with status " + std::to_string(status);
}

/// The defined names of the dynamic symbol table, without parameters, each once.
std::set<std::string> ExportedNames()
{
    std::set<std::string> names;
    const std::string table = Output("nm -DC --defined-only '" PRODUCT_STORAGE_LIBRARY "'");
    const std::regex line("[0-9a-f]+ [A-Za-z] ([^(\\[\\n]+)[^\\n]*\\n");
    for (std::sregex_iterator match(table.begin(), table.end(), line); match != std::sregex_iterator(); ++match) {
        names.insert((*match)[1]);
    }
    return names;
}

// By class; those without one last.
const std::map<std::string, std::vector<std::string>> MEMBERS = {
    {"DeleteResource",
     {"CheckAndDeleteHost", "CheckAndDeleteHostGroup", "CheckAndDeleteLunGroup", "CheckAndDeleteMapView",
      "DeleteCreatedResource", "DeleteHost", "GetLunIdByLunGroup", "GetSnapshotIdByLunGroup", "RemoveLunFromLunGroup",
      "RemoveSnapshotFromLunGroup", "~DeleteResource"}},
    {"DeviceOperate",
     {"AddZavMessage",
      "CheckInit",
      "CheckInitSub",
      "CreateFCInitorOnDev",
      "DeviceOperate",
      "FormatUrl",
      "GetDeviceInfoCfgFile",
      "GetFCInitor",
      "GetHandler",
      "GetIscsiInitor",
      "GetLoginTargetIP",
      "GetRandStr",
      "GetSelfLunGroupInfo",
      "GetSelfMapviewInfo",
      "LoginIscsiTarget",
      "ReadConfig",
      "ReadDeviceInfo",
      "ReadInfoFromJson",
      "SetDeviceMessage",
      "SetFCInitorInfo",
      "SetHostGroupInfo",
      "SetHostInfo",
      "SetInitiatorInfo",
      "SetIscsiInitorInfo",
      "SetIscsiInitorInfoInner",
      "SetLunGroupInfo",
      "SetMapViewInfo",
      "UpdateConfigFile",
      "WriteInfoToJson",
      "~DeviceOperate"}},
    {"DeviceSetOperator",
     {"DeviceSetOperator", "ExtractAddressInfo", "GetAllDeviceInfo", "GetAllOtherMgmtIPs", "GetDeviceInfoCfgFile",
      "GetDeviceManager", "GetDeviceSetOperator", "GetMapDeviceOperate", "GetSelfLunGroupInfo", "InitDeviceManager",
      "InitDeviceSet", "InitDeviceSetInner", "PrepareAndCheckInit", "ReadConfig", "ReadInfoFromJson",
      "RemoveDeviceFromMap", "~DeviceSetOperator"}},
    {"DiskDescriptorManager", {"urnToUri"}},
    {"NimbRestApi",
     {"BuildReqHeaders", "GetManagementIP", "GetProductMode", "GetSerialNum", "GetStorageVersion", "Init", "Login",
      "Logout", "ParseBodyV1", "ParseBodyV2", "SendAndParseRsp", "SendRequest", "~NimbRestApi"}},
    {"ZavRestApi",
     {"BuildBaseRequest",
      "CheckDosAttack",
      "CheckHost",
      "CheckHostGroup",
      "CheckLunGroup",
      "CheckMapView",
      "DeleteHost",
      "DeleteHostGroup",
      "DeleteLunGroup",
      "DeleteMapView",
      "GetAllHostIDFromHostGroup",
      "GetAllManagementV4IPs",
      "GetAllStoragePool",
      "GetFCInitiator",
      "GetHostName",
      "GetIscsiInitiator",
      "GetLunCount",
      "GetLunIdByLunGroup",
      "GetLunListByPage",
      "GetLunName",
      "GetProductMode",
      "GetSerialNum",
      "GetSession",
      "GetSnapshotIdByLunGroup",
      "GetStorageIP",
      "IsOnlineFCInitiator",
      "Login",
      "Logout",
      "ParseCookie",
      "ParseLoginRespons",
      "ParseRsp",
      "RemoveFCInitiator",
      "RemoveHost",
      "RemoveHostGroup",
      "RemoveIscsiInitiator",
      "RemoveLunFromLunGroup",
      "RemoveLunGroup",
      "RemoveSnapshotFromLunGroup",
      "SendAndParseRsp",
      "ToQueryString",
      "ZavRestApi",
      "~ZavRestApi"}},
    {"ZavStorageDiskLib",
     {"CheckEnvCertForNewMgmtIP", "CheckIfNeedToRetry", "DoCheck", "GetDeviceInfoByEnv", "GetInstance",
      "GetLoginedZavRestApi", "GetLunGropuInfo", "Init", "IsRetryable", "StopCheckThread", "TryToGetAValidMgmtIP",
      "ZavStorageDiskLib", "~ZavStorageDiskLib"}},
};

const std::vector<std::string> POLYMORPHIC = {"DeleteResource", "DeviceOperate", "DeviceSetOperator",
                                              "NimbRestApi",    "ZavRestApi",    "ZavStorageDiskLib"};

TEST(LibraryTest, ExportsItsClassesAndNothingElse)
{
    std::set<std::string> expected = {"CheckContain", "g_infoFileMutext"};
    for (const auto& [name, members] : MEMBERS) {
        for (const std::string& member : members) {
            expected.insert(name + "::" + member);
        }
    }
    for (const std::string& name : POLYMORPHIC) {
        expected.insert({"typeinfo for " + name, "typeinfo name for " + name, "vtable for " + name});
    }
    EXPECT_THAT(ExportedNames(), UnorderedElementsAreArray(expected));
}

TEST(LibraryTest, BearsItsMajorVersion)
{
    EXPECT_THAT(Output("readelf -d '" PRODUCT_STORAGE_LIBRARY "'"), HasSubstr("soname: [libProductStorage.so.1]"));
}

} // namespace
