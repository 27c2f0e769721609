#include "rest/inventory_json.h"

#include "rest/answer_json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>

namespace InventoryJson {

namespace {

// What the records are made of, sorted by name.
constexpr std::array<std::string_view, 9> POOL_MEMBERS = {
    "DESCRIPTION",      "HEALTHSTATUS",     "ID", "NAME", "SECTORSIZE", "USAGETYPE", "USERCONSUMEDCAPACITY",
    "USERFREECAPACITY", "USERTOTALCAPACITY"};
constexpr std::array<std::string_view, 8> LUN_MEMBERS = {"ALLOCTYPE", "CAPACITY", "HEALTHSTATUS", "ID",
                                                         "NAME",      "PARENTID", "SECTORSIZE",   "WWN"};

template <std::size_t COUNT>
constexpr bool IsSorted(const std::array<std::string_view, COUNT>& names)
{
    for (std::size_t index = 1; index < COUNT; ++index) {
        if (!(names[index - 1] < names[index])) {
            return false;
        }
    }
    return true;
}
static_assert(IsSorted(POOL_MEMBERS) && IsSorted(LUN_MEMBERS));

/// The members of one element that a record is made of. The element has its own sorted by name, too, so that one walk
/// finds all of them: to look up each would take a fifth of what reading the whole page takes.
template <std::size_t COUNT>
class Members {
public:
    /// Both must outlive the object. Throws when `element` is no object.
    Members(const Json::Value& element, const std::array<std::string_view, COUNT>& names)
        : m_names(names)
    {
        AnswerJson::RequireObject(element, "ID");
        std::size_t index = 0;
        const auto end = element.end();
        for (auto member = element.begin(); member != end; ++member) {
            const std::string_view name = NameOf(member);
            while (index < COUNT && m_names[index] < name) {
                ++index;
            }
            if (index == COUNT) {
                return;
            }
            if (m_names[index] == name) {
                m_values[index] = &*member;
            }
        }
    }

    bool Has(std::string_view name) const { return Find(name) != nullptr; }

    /// Empty when the member is absent. Throws when it is an object or array.
    std::string Text(std::string_view name) const { return AnswerJson::TextOf(Find(name), name); }

    template <typename Value>
    Value Number(std::string_view name) const
    {
        const Json::Value* const value = Find(name);
        const char* begin = nullptr;
        const char* end = nullptr;
        Value number = 0;
        if (value != nullptr && value->getString(&begin, &end)) {
            const auto [rest, error] = std::from_chars(begin, end, number);
            if (error == std::errc() && rest == end) {
                return number;
            }
        }
        const std::string text = Text(name); // not digits alone: a sign is allowed, and a number that is no text
        if (!AnswerJson::ToNumber(text, number)) {
            throw std::invalid_argument(std::string(name) + " is not a number: \"" + text + "\"");
        }
        return number;
    }

private:
    static std::string_view NameOf(const Json::Value::const_iterator& member)
    {
        const char* end = nullptr;
        const char* const begin = member.memberName(&end);
        return std::string_view(begin, static_cast<std::size_t>(end - begin));
    }

    const Json::Value* Find(std::string_view name) const
    {
        const auto found = std::find(m_names.begin(), m_names.end(), name);
        return found == m_names.end() ? nullptr : m_values[static_cast<std::size_t>(found - m_names.begin())];
    }

    const std::array<std::string_view, COUNT>& m_names;
    std::array<const Json::Value*, COUNT> m_values = {}; ///< null for what is absent
};

// Capacities are counted in sectors on the array, whose size each element may tell.
template <std::size_t COUNT>
std::uint64_t SectorSize(const Members<COUNT>& members)
{
    return members.Has("SECTORSIZE") ? members.template Number<std::uint64_t>("SECTORSIZE") : DEFAULT_SECTOR_SIZE;
}

} // namespace

Zav::StoragePool DecodeStoragePool(const Json::Value& element)
{
    const Members members(element, POOL_MEMBERS);
    Zav::StoragePool pool;
    const std::uint64_t sectorSize = SectorSize(members);
    pool.id = members.Number<std::uint64_t>("ID");
    pool.name = members.Text("NAME");
    pool.description = members.Text("DESCRIPTION");
    pool.totalCapacity = members.Number<std::uint64_t>("USERTOTALCAPACITY") * sectorSize;
    pool.freeCapacity = members.Number<std::uint64_t>("USERFREECAPACITY") * sectorSize;
    pool.consumedCapacity = members.Number<std::uint64_t>("USERCONSUMEDCAPACITY") * sectorSize;
    pool.healthStatus = members.Number<std::uint32_t>("HEALTHSTATUS");
    pool.usageType = members.Text("USAGETYPE");
    return pool;
}

Zav::LunInfo DecodeLun(const Json::Value& element)
{
    const Members members(element, LUN_MEMBERS);
    Zav::LunInfo lun;
    const std::uint64_t sectorSize = SectorSize(members);
    lun.id = members.Number<std::uint64_t>("ID");
    lun.name = members.Text("NAME");
    lun.wwn = members.Text("WWN");
    lun.capacity = members.Number<std::uint64_t>("CAPACITY") * sectorSize;
    lun.healthStatus = members.Number<std::uint32_t>("HEALTHSTATUS");
    lun.parentId = members.Number<std::uint64_t>("PARENTID");
    lun.allocationType = members.Number<std::uint32_t>("ALLOCTYPE");
    return lun;
}

} // namespace InventoryJson
