#ifndef PRODUCT_STORAGE_CLI_REPORT_H
#define PRODUCT_STORAGE_CLI_REPORT_H

#include <json/value.h>

#include <cstdint>
#include <string>
#include <vector>

/// Data goes to standard output, all else to standard error.
namespace Report {

enum class Format { Table, Json };

using Row = std::vector<std::string>;

/// Tells on standard error what is being done or was found.
void Step(const std::string& text);

/// What Step told last; any thread.
std::string LastStep();

/// The time as a journal of lines wants it: 2026-01-31T23:59:59Z.
std::string Now();

/// The form of all JSON that is printed, named in each answer; docs/zavctl-json.md tells it.
inline constexpr const char* SCHEMA = "zavctl/1";

/// Prints rows with aligned columns, the first row as heading.
void Table(const std::vector<Row>& rows);
void Json(const ::Json::Value& value);

/// 1073741824 gives "1.00 GiB".
std::string Size(std::uint64_t bytes);

/// A bar on standard error that moves in place, on a terminal only; it is gone when the object is.
class ProgressBar {
public:
    ProgressBar(std::string title, std::uint64_t total);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    void Show(std::uint64_t done) const;

private:
    const std::string m_title;
    const std::uint64_t m_total;
    const bool m_isTerminal;
};

} // namespace Report

#endif
