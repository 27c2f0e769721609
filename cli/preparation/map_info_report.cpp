#include "cli/preparation/map_info_report.h"

#include <array>
#include <string>

namespace {

using Texts = google::protobuf::RepeatedPtrField<std::string>;

struct Field {
    const char* title;
    const char* key;
    const Texts& (ZavMapInfo::*values)() const;
};

const std::array<Field, 9> FIELDS = {{
    {"DEVICE KEY", "device_key", &ZavMapInfo::device_keys},
    {"HOST GROUP ID", "host_group_id", &ZavMapInfo::host_group_ids},
    {"HOST GROUP NAME", "host_group_name", &ZavMapInfo::host_group_names},
    {"HOST ID", "host_id", &ZavMapInfo::host_ids},
    {"HOST NAME", "host_name", &ZavMapInfo::host_names},
    {"LUN GROUP ID", "lun_group_id", &ZavMapInfo::lun_group_ids},
    {"LUN GROUP NAME", "lun_group_name", &ZavMapInfo::lun_group_names},
    {"MAPPING VIEW ID", "map_view_id", &ZavMapInfo::map_view_ids},
    {"MAPPING VIEW NAME", "map_view_name", &ZavMapInfo::map_view_names},
}};

std::string Value(const ZavMapInfo& info, const Field& field)
{
    const Texts& values = (info.*field.values)();
    return values.empty() ? "" : values.Get(0);
}

} // namespace

void PrintMapInfos(const std::vector<ZavMapInfo>& infos, Report::Format format,
                   const std::vector<Explanation>& failures)
{
    if (format == Report::Format::Json) {
        Json::Value arrays(Json::arrayValue);
        for (const ZavMapInfo& info : infos) {
            Json::Value& array = arrays.append(Json::objectValue);
            for (const Field& field : FIELDS) {
                array[field.key] = Value(info, field);
            }
        }
        Json::Value answer;
        answer["schema"] = Report::SCHEMA;
        answer["arrays"] = arrays;
        for (const Explanation& failure : failures) {
            answer["errors"].append(ToJson(failure));
        }
        Report::Json(answer);
        return;
    }
    if (infos.empty()) {
        return;
    }
    std::vector<Report::Row> rows;
    for (const Field& field : FIELDS) {
        Report::Row& row = rows.emplace_back(Report::Row{field.title});
        for (const ZavMapInfo& info : infos) {
            row.push_back(Value(info, field));
        }
    }
    Report::Table(rows);
}
