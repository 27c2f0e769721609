#include "cli/doctor/array_answers.h"

#include "base/percent_encoding.h"
#include "cli/array/array_objects.h"
#include "cli/node/node_initiators.h"
#include "cli/record/device_record.h"
#include "cli/record/recorded_objects.h"
#include "common/json_text.h"
#include "rest/secret_request.h"
#include "rest/zav_rest_api.h"

#include <chrono>
#include <vector>

namespace Doctor {

namespace {

std::vector<std::string> Resources(const ArrayLogin& login)
{
    std::vector<std::string> resources = {"system/", "lun/count", "storagepool", "eth_port?selectType=2",
                                          "eth_port?LOGICTYPE=0"};
    const auto add = [&resources](const ObjectKind& kind, const std::string& id) {
        resources.push_back(std::string(kind.resource) + "/" + Base::PercentEncode(id));
    };
    for (const RecordedObject& object : RecordedObjects(DeviceRecord(login.DeviceId()).Message())) {
        if (!object.id.empty()) {
            add(*object.kind, object.id);
        }
    }
    for (const NodeInitiators::Name& name : NodeInitiators::Read().All()) {
        add(*name.kind, name.id);
    }
    return resources;
}

std::string Ask(ZavRestApi& api, const std::string& resource)
{
    SecretRequest request;
    request.method = "GET";
    api.BuildBaseRequest(request, resource);
    SecretAnswer answer;
    std::string errorText;
    const auto start = std::chrono::steady_clock::now();
    const int code = api.SendAndParseRsp(request, answer.data, errorText, false);
    const auto took = std::chrono::steady_clock::now() - start;
    Json::Value line;
    line["resource"] = resource;
    line["milliseconds"] = Json::Int64(std::chrono::duration_cast<std::chrono::milliseconds>(took).count());
    line["code"] = code;
    if (!errorText.empty()) {
        line["description"] = errorText;
    }
    line["data"] = answer.data;
    return JsonText::Write(line, JsonText::Style::Compact) + "\n";
}

} // namespace

std::string ArrayAnswers(const Patient& patient)
{
    const auto login = patient.logins.Await();
    if (login == nullptr) {
        return {};
    }
    std::string answers;
    const auto api = login->Api();
    for (const std::string& resource : Resources(*login)) {
        answers += Ask(*api, resource);
    }
    return answers;
}

} // namespace Doctor
