#ifndef PRODUCT_STORAGE_CLI_COMMANDS_LIST_OUTPUT_H
#define PRODUCT_STORAGE_CLI_COMMANDS_LIST_OUTPUT_H

#include "cli/console/exit_code.h"
#include "cli/console/log_tail.h"
#include "cli/console/report.h"

#include <json/value.h>
#include <json/writer.h>

#include <functional>
#include <string>
#include <vector>

/// A list on standard output, printed page by page as it is read, so that one of any length takes the memory of a page.
class ListOutput {
public:
    /// What a table shows of one member of the list's objects.
    struct Column {
        const char* heading;
        const char* member;
        enum class As { Text, Size } as = As::Text; ///< Size: bytes, told in the unit that fits
        bool isWide = false;                        ///< shown in wide tables only
    };

    /// `head` is what JSON tells beside the list, which is its member `name`.
    ListOutput(Report::Format format, Json::Value head, std::string name, std::vector<Column> columns);

    /// Prints further objects of the list.
    void Print(const std::vector<Json::Value>& objects);

    /// Prints what is to stand behind the list, `tail`, which holds the members that are known then alone. A list
    /// without any object is a heading, or an empty list.
    void End(const Json::Value& tail = Json::Value(Json::objectValue));

    /// Has `read` print the list, and ends it with whether it is complete, as `read` gives. A Failure in the middle of
    /// JSON is told within the one object, and its exit code given; any other is thrown on.
    ExitCode PrintAll(const std::function<bool()>& read, LogTail& log);

private:
    void Begin();
    void PrintRows(const std::vector<Json::Value>& objects);

    const Report::Format m_format;
    const Json::Value m_head;
    const std::string m_name;
    const std::vector<Column> m_columns;
    const Json::StreamWriterBuilder m_compact;
    std::vector<std::size_t> m_widths;
    bool m_hasBegun = false;
    bool m_hasAny = false;
};

#endif
