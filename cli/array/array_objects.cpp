#include "cli/array/array_objects.h"

#include "base/percent_encoding.h"
#include "cli/console/failure.h"
#include "common/result_codes.h"
#include "rest/inventory_json.h"
#include "rest/secret_request.h"
#include "rest/zav_rest_api.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <utility>

namespace {

constexpr std::size_t PAGE = 100;

std::string Text(const Json::Value& data, const char* name)
{
    const Json::Value& member = data.isObject() ? data[name] : Json::Value::nullSingleton();
    return member.isConvertibleTo(Json::stringValue) ? member.asString() : std::string();
}

// 0 where it is no number.
std::uint64_t Number(const Json::Value& data, const char* name)
{
    const std::string text = Text(data, name);
    std::uint64_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string AssociatedResource(const ObjectKind& kind, const std::string& id, const ObjectKind& other)
{
    return std::string(other.resource) + "/associate?TYPE=" + std::string(other.type) +
           "&ASSOCIATEOBJTYPE=" + std::string(kind.type) + "&ASSOCIATEOBJID=" + Base::PercentEncode(id);
}

// What says nothing of the object that was asked for, or cannot be read.
bool IsNoAnswer(int code)
{
    return code == ResultCode::FAILED ||
           std::find(RETRYABLE_CODES.begin(), RETRYABLE_CODES.end(), code) != RETRYABLE_CODES.end();
}

// Takes all of a list.
ArrayObjects::PageTaker AddingTo(std::vector<ArrayObject>& objects)
{
    return [&objects](const std::vector<ArrayObject>& page) {
        objects.insert(objects.end(), page.begin(), page.end());
        return true;
    };
}

} // namespace

bool ArraySeesOnline(ZavRestApi& api, const std::string& url, const std::string& wwpn)
{
    std::string errorText;
    const int code = api.IsOnlineFCInitiator(wwpn, errorText);
    // An answer that was read, and says that the port is not online, fails without a text.
    if (code != ResultCode::OK && (code != ResultCode::FAILED || !errorText.empty())) {
        throw Failure::OfRequest(ExitCodeOf(code),
                                 url + ": cannot read whether " + std::string(FC_INITIATOR.words) + " " + wwpn +
                                     " is online",
                                 errorText, code);
    }
    return code == ResultCode::OK;
}

ArrayObjects::Answer ArrayObjects::Get(const std::string& resource)
{
    SecretRequest request;
    request.method = "GET";
    m_api.BuildBaseRequest(request, resource);
    Answer answer = {};
    answer.code = m_api.SendAndParseRsp(request, answer.data, answer.errorText, false);
    if (IsNoAnswer(answer.code)) {
        Fail(resource, answer);
    }
    return answer;
}

void ArrayObjects::Fail(const std::string& resource, const Answer& answer) const
{
    throw Failure::OfRequest(ExitCodeOf(answer.code), m_url + ": cannot read " + resource, answer.errorText,
                             answer.code);
}

void ArrayObjects::FailOfList(const ObjectKind& kind, const Answer& answer) const
{
    throw Failure::OfRequest(ExitCode::Refused,
                             m_url + ": the array does not list its " + std::string(kind.words) + "s", answer.errorText,
                             answer.code);
}

// Of an answer that is none to what was asked for; the array gave no code.
void ArrayObjects::FailOfContent(const std::string& resource, const std::string& problem) const
{
    throw Failure(ExitCode::Refused, m_url + ": cannot read " + resource + ": " + problem);
}

// One that has no id and name is no object: nothing could be told of it.
ArrayObject ArrayObjects::ToObject(const std::string& resource, const Json::Value& data) const
{
    ArrayObject object = {Text(data, "ID"), Text(data, "NAME"), Text(data, "PARENTID")};
    if (object.id.empty() || !data.isMember("NAME")) {
        FailOfContent(resource, "the answer names no object");
    }
    return object;
}

std::optional<ArrayObject> ArrayObjects::Find(const ObjectKind& kind, const std::string& id)
{
    const std::string resource = std::string(kind.resource) + "/" + Base::PercentEncode(id);
    const Answer answer = Get(resource);
    if (answer.code == ResultCode::OK) {
        return ToObject(resource, answer.data);
    }
    if (kind.goneCode != 0 && answer.code != kind.goneCode) {
        Fail(resource, answer);
    }
    return std::nullopt;
}

// Objects that have an id each.
Json::Value ArrayObjects::List(const std::string& resource)
{
    Answer answer = Get(resource);
    if (answer.code != ResultCode::OK) {
        Fail(resource, answer);
    }
    for (const Json::Value& each : answer.data) {
        if (Text(each, "ID").empty()) {
            FailOfContent(resource, "the answer lists what has no id");
        }
    }
    return std::move(answer.data);
}

std::vector<std::string> ArrayObjects::Ids(const std::string& resource)
{
    std::vector<std::string> ids;
    for (const Json::Value& each : List(resource)) {
        ids.push_back(Text(each, "ID"));
    }
    return ids;
}

std::vector<std::string> ArrayObjects::Associated(const ObjectKind& kind, const std::string& id,
                                                  const ObjectKind& other)
{
    return Ids(AssociatedResource(kind, id, other));
}

std::vector<MappedLun> ArrayObjects::Luns(const std::string& lunGroupId)
{
    std::vector<MappedLun> luns;
    for (const Json::Value& each : List(AssociatedResource(LUN_GROUP, lunGroupId, LUN))) {
        const std::uint64_t sector = Number(each, "SECTORSIZE");
        luns.push_back({Text(each, "ID"), Text(each, "NAME"), Text(each, "WWN"),
                        Number(each, "CAPACITY") * (sector == 0 ? InventoryJson::DEFAULT_SECTOR_SIZE : sector)});
    }
    return luns;
}

std::vector<std::string> ArrayObjects::Initiators(const ObjectKind& kind, const std::string& hostId)
{
    return Ids(std::string(kind.resource) + "?PARENTID=" + Base::PercentEncode(hostId));
}

std::optional<std::vector<ArrayObject>> ArrayObjects::All(const ObjectKind& kind)
{
    std::vector<ArrayObject> objects;
    const Answer last = ReadPages(kind, AddingTo(objects));
    return last.code == ResultCode::OK ? std::optional(std::move(objects)) : std::nullopt;
}

std::vector<ArrayObject> ArrayObjects::Listed(const ObjectKind& kind)
{
    std::vector<ArrayObject> objects;
    EachPage(kind, AddingTo(objects));
    return objects;
}

void ArrayObjects::EachPage(const ObjectKind& kind, const PageTaker& take)
{
    const Answer last = ReadPages(kind, take);
    if (last.code != ResultCode::OK) {
        FailOfList(kind, last);
    }
}

// Gives the last answer: a refusal, where the array does not list them. The next page begins behind what came, and one
// on which nothing is new ends the list: nothing else tells an array that gives fewer at once than it is asked for from
// the end.
ArrayObjects::Answer ArrayObjects::ReadPages(const ObjectKind& kind, const PageTaker& take)
{
    std::set<std::string> seen; // ids: what moved onto this page, because others were made meanwhile, comes again
    for (std::size_t begin = 0;;) {
        const std::string resource =
            std::string(kind.resource) + "?range=[" + std::to_string(begin) + "-" + std::to_string(begin + PAGE) + "]";
        Answer answer = Get(resource);
        if (answer.code != ResultCode::OK) {
            return answer;
        }
        std::vector<ArrayObject> page;
        for (const Json::Value& each : answer.data) {
            ArrayObject object = ToObject(resource, each);
            if (seen.insert(object.id).second) {
                page.push_back(std::move(object));
            }
        }
        if (page.empty() && answer.data.size() >= PAGE) {
            FailOfContent(resource, "the array gives the same page of its list again and again");
        }
        if (page.empty() || !take(page)) {
            return answer;
        }
        begin += answer.data.size();
    }
}
