#include "rest/zav_json.h"

#include "common/json_text.h"

#include <boost/lexical_cast.hpp>

#include <stdexcept>

namespace ZavJson {

namespace {

constexpr std::uint64_t DEFAULT_SECTOR_SIZE = 512; // bytes

template <typename Number>
Number ToNumber(const Json::Value& element, const char* name)
{
    const std::string text = MemberText(element, name);
    try {
        return boost::lexical_cast<Number>(text);
    } catch (const boost::bad_lexical_cast&) {
        throw std::invalid_argument(std::string(name) + " is not a number: \"" + text + "\"");
    }
}

// Capacities are counted in sectors on the array, whose size each element may tell.
std::uint64_t SectorSize(const Json::Value& element)
{
    return JsonText::FindMember(element, "SECTORSIZE") != nullptr ? ToNumber<std::uint64_t>(element, "SECTORSIZE")
                                                                  : DEFAULT_SECTOR_SIZE;
}

} // namespace

bool DecodeEnvelopeError(const Json::Value& root, const char* member, EnvelopeError& error)
{
    const Json::Value* const verdict = JsonText::FindMember(root, member);
    if (verdict == nullptr) {
        return false;
    }
    const Json::Value* const code = JsonText::FindMember(*verdict, "code");
    const Json::Value* const description = JsonText::FindMember(*verdict, "description");
    if (code == nullptr || !code->isInt() || description == nullptr) {
        return false;
    }
    EnvelopeError decoded;
    decoded.code = code->asInt();
    if (!JsonText::ToText(*description, decoded.description)) {
        return false;
    }
    error = decoded;
    return true;
}

std::string MemberText(const Json::Value& element, const char* name)
{
    if (!element.isObject()) {
        throw std::invalid_argument(std::string("element is not an object, looking for ") + name);
    }
    std::string text;
    const Json::Value* const member = JsonText::FindMember(element, name);
    if (member != nullptr && !JsonText::ToText(*member, text)) {
        throw std::invalid_argument(std::string(name) + " is not a text");
    }
    return text;
}

bool FindText(const Json::Value& data, const char* name, std::string& text)
{
    const Json::Value* const member = JsonText::FindMember(data, name);
    return member != nullptr && JsonText::ToText(*member, text);
}

Finding FindOptionalText(const Json::Value& data, const char* name, std::string& text)
{
    if (data.isNull() || (data.isObject() && !data.isMember(name))) {
        return Finding::Absent;
    }
    return FindText(data, name, text) ? Finding::Found : Finding::Malformed;
}

std::uint64_t ToUnsigned64(const std::string& text)
{
    return boost::lexical_cast<std::uint64_t>(text);
}

Zav::StoragePool DecodeStoragePool(const Json::Value& element)
{
    Zav::StoragePool pool;
    const std::uint64_t sectorSize = SectorSize(element);
    pool.id = ToNumber<std::uint64_t>(element, "ID");
    pool.name = MemberText(element, "NAME");
    pool.description = MemberText(element, "DESCRIPTION");
    pool.totalCapacity = ToNumber<std::uint64_t>(element, "USERTOTALCAPACITY") * sectorSize;
    pool.freeCapacity = ToNumber<std::uint64_t>(element, "USERFREECAPACITY") * sectorSize;
    pool.consumedCapacity = ToNumber<std::uint64_t>(element, "USERCONSUMEDCAPACITY") * sectorSize;
    pool.healthStatus = ToNumber<std::uint32_t>(element, "HEALTHSTATUS");
    pool.usageType = MemberText(element, "USAGETYPE");
    return pool;
}

Zav::LunInfo DecodeLun(const Json::Value& element)
{
    Zav::LunInfo lun;
    const std::uint64_t sectorSize = SectorSize(element);
    lun.id = ToNumber<std::uint64_t>(element, "ID");
    lun.name = MemberText(element, "NAME");
    lun.wwn = MemberText(element, "WWN");
    lun.capacity = ToNumber<std::uint64_t>(element, "CAPACITY") * sectorSize;
    lun.healthStatus = ToNumber<std::uint32_t>(element, "HEALTHSTATUS");
    lun.parentId = ToNumber<std::uint64_t>(element, "PARENTID");
    lun.allocationType = ToNumber<std::uint32_t>(element, "ALLOCTYPE");
    return lun;
}

void AppendText(const Json::Value& element, const char* name, std::vector<std::string>& texts)
{
    if (element.isNull()) {
        return; // it has no members, and so not this one
    }
    const std::string text = MemberText(element, name);
    if (element.isMember(name)) {
        texts.push_back(text);
    }
}

} // namespace ZavJson
