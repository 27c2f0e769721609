#include "rest/zav_rest_api.h"

#include "common/log.h"
#include "common/result_codes.h"
#include "rest/answer_json.h"
#include "rest/inventory_json.h"
#include "rest/zav_rest_call.h"

namespace {

const std::string LOG_MODULE = "ZavRestApi";

} // namespace

int ZavRestApi::GetLunName(const std::string& lunId, std::string& lunName, std::string& errorText)
{
    PS_TRACE();
    return ReadText({__func__, "GET", "lun/" + lunId}, "NAME", lunName, errorText);
}

int ZavRestApi::GetHostName(const std::string& hostId, std::string& hostName, std::string& errorText)
{
    PS_TRACE();
    return ReadText({__func__, "GET", "host/" + hostId}, "NAME", hostName, errorText);
}

int ZavRestApi::GetLunCount(std::uint64_t& count, std::string& errorText)
{
    PS_TRACE();
    std::string text;
    const int result = ReadText({__func__, "GET", "lun/count"}, "COUNT", text, errorText);
    if (result != ResultCode::OK) {
        return result;
    }
    if (!AnswerJson::ToNumber(text, count)) {
        PS_LOG(4) << "Throw a exception.";
        return ResultCode::FAILED;
    }
    return ResultCode::OK;
}

int ZavRestApi::GetAllStoragePool(std::vector<Zav::StoragePool>& pools, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "GET", "storagepool"};
    call.failedText = "Get all storagePool failed.";
    return ReadList(
        call, [&pools](const Json::Value& element) { pools.push_back(InventoryJson::DecodeStoragePool(element)); },
        errorText);
}

int ZavRestApi::GetLunListByPage(std::uint64_t offset, std::uint64_t count, std::vector<Zav::LunInfo>& luns,
                                 std::string& errorText)
{
    PS_TRACE();
    PS_LOG(1) << "offSet :" << offset << ", count" << count;
    Call call = {__func__, "GET", "lun"};
    call.query = {{"range", "[" + std::to_string(offset) + "-" + std::to_string(offset + count) + "]"}};
    call.failedText = "Get lun list failed.";
    return ReadList(
        call, [&luns](const Json::Value& element) { luns.push_back(InventoryJson::DecodeLun(element)); }, errorText);
}

int ZavRestApi::GetSerialNum(std::string& serial, std::string& errorText)
{
    PS_TRACE();
    return ReadOptionalText({__func__, "GET", "system/"}, "ID", serial, errorText);
}

int ZavRestApi::GetProductMode(std::string& productMode, std::string& errorText)
{
    PS_TRACE();
    return ReadOptionalText({__func__, "GET", "system/"}, "PRODUCTMODE", productMode, errorText);
}

int ZavRestApi::GetAllManagementV4IPs(std::vector<std::string>& ips, std::string& errorText)
{
    PS_TRACE();
    ips.clear();
    Call call = {__func__, "GET", "eth_port", {{"selectType", "2"}}};
    call.notLoginedText = "Didn't login into this device.";
    call.failedText = "Failed to query management IPV4s from disk array.";
    call.unreadableText = "Throw a exception when try to query management IPV4:";
    const auto append = [&ips, &call](const Json::Value& element) {
        if (AnswerJson::AppendText(element, "IPV4ADDR", ips)) {
            PS_LOG_AS(call.operation, 1) << "Get a disk array management IPV4:" << ips.back();
        }
    };
    return ReadList(call, append, errorText);
}

int ZavRestApi::GetStorageIP(std::vector<std::string>& ips, std::string& errorText)
{
    PS_TRACE();
    Call call = {__func__, "GET", "eth_port", {{"LOGICTYPE", "0"}}};
    call.failedText = "Get StorageIP failed.";
    return ReadList(
        call, [&ips](const Json::Value& element) { AnswerJson::AppendText(element, "IPV4ADDR", ips); }, errorText);
}
