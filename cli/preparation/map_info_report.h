#ifndef PRODUCT_STORAGE_CLI_PREPARATION_MAP_INFO_REPORT_H
#define PRODUCT_STORAGE_CLI_PREPARATION_MAP_INFO_REPORT_H

#include "cli/console/explanation.h"
#include "cli/console/report.h"
#include "common/framework/product_messages.pb.h"

#include <vector>

/// Prints what ties this node to each array: a column (in JSON an object) an array, its nine fields.
void PrintMapInfos(const std::vector<ZavMapInfo>& infos, Report::Format format,
                   const std::vector<Explanation>& failures = {});

#endif
