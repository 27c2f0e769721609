#include "rest/inventory_json.h"
#include "rest/answer_json.h"

#include "tests/fuzz/support/input.h"
#include "tests/fuzz/support/model.h"
#include "tests/fuzz/support/require.h"

#include <exception>
#include <limits>
#include <tuple>

using namespace Fuzz;

namespace {

/// Reads an element as the array writes it; every read that fails spoils the whole.
class Element {
public:
    explicit Element(const Json::Value& value)
        : m_value(value)
        , m_sectorSize(value.isObject() && value.isMember("SECTORSIZE") ? Number("SECTORSIZE") : 512)
    {
    }

    std::string Text(const std::string& name)
    {
        const std::optional<std::string> text = MemberText(m_value, name);
        m_isGood = m_isGood && text;
        return text.value_or("");
    }

    std::uint64_t Number(const std::string& name, std::uint64_t max = std::numeric_limits<std::uint64_t>::max())
    {
        const std::optional<std::uint64_t> number = ToNumber(Text(name), max);
        m_isGood = m_isGood && number;
        return number.value_or(0);
    }

    std::uint32_t ShortNumber(const std::string& name)
    {
        return static_cast<std::uint32_t>(Number(name, std::numeric_limits<std::uint32_t>::max()));
    }

    std::uint64_t Bytes(const std::string& name) { return Number(name) * m_sectorSize; }

    bool IsGood() const { return m_isGood; }

private:
    const Json::Value& m_value;
    bool m_isGood = true;
    const std::uint64_t m_sectorSize;
};

auto Members(const Zav::StoragePool& pool)
{
    return std::tie(pool.id, pool.name, pool.description, pool.totalCapacity, pool.freeCapacity, pool.consumedCapacity,
                    pool.healthStatus, pool.usageType);
}

auto Members(const Zav::LunInfo& lun)
{
    return std::tie(lun.id, lun.name, lun.wwn, lun.capacity, lun.healthStatus, lun.parentId, lun.allocationType);
}

template <typename Record>
void Compare(Record (*decode)(const Json::Value&), const Json::Value& value, const Element& element,
             const Record& expected)
{
    Record record;
    try {
        record = decode(value);
    } catch (const std::exception&) {
        Require(!element.IsGood(), "a sound element is decoded");
        return;
    }
    Require(element.IsGood(), "an element that lacks something is refused");
    Require(Members(record) == Members(expected), "every member is the element's");
}

} // namespace

// One element of a list of storage pools or LUNs.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::optional<Json::Value> value = ParseJson(Input(data, size).TakeRest());
    if (!value) {
        return 0;
    }
    Element pool(*value);
    Compare(&InventoryJson::DecodeStoragePool, *value, pool,
            Zav::StoragePool{pool.Number("ID"), pool.Text("NAME"), pool.Text("DESCRIPTION"),
                             pool.Bytes("USERTOTALCAPACITY"), pool.Bytes("USERFREECAPACITY"),
                             pool.Bytes("USERCONSUMEDCAPACITY"), pool.ShortNumber("HEALTHSTATUS"),
                             pool.Text("USAGETYPE")});
    Element lun(*value);
    Compare(&InventoryJson::DecodeLun, *value, lun,
            Zav::LunInfo{lun.Number("ID"), lun.Text("NAME"), lun.Text("WWN"), lun.Bytes("CAPACITY"),
                         lun.ShortNumber("HEALTHSTATUS"), lun.Number("PARENTID"), lun.ShortNumber("ALLOCTYPE")});
    return 0;
}
