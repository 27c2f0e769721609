#include "cli/commands/list_output.h"

#include "base/json_writing.h"
#include "cli/console/explanation.h"
#include "cli/console/failure.h"
#include "cli/console/json_answer.h"

#include <boost/algorithm/string/join.hpp>

#include <iostream>
#include <utility>

namespace {

Json::StreamWriterBuilder Compact()
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return builder;
}

std::string CellOf(const ListOutput::Column& column, const Json::Value& value)
{
    if (column.as == ListOutput::Column::As::Size) {
        return Report::Size(value.asUInt64());
    }
    if (value.isBool()) {
        return value.asBool() ? "yes" : "no";
    }
    if (!value.isArray()) {
        return value.asString();
    }
    std::vector<std::string> texts;
    for (const Json::Value& each : value) {
        texts.push_back(each.asString());
    }
    return boost::join(texts, ", ");
}

} // namespace

ListOutput::ListOutput(Report::Format format, Json::Value head, std::string name, std::vector<Column> columns)
    : m_format(format)
    , m_head(std::move(head))
    , m_name(std::move(name))
    , m_columns(std::move(columns))
    , m_compact(Compact())
{
}

void ListOutput::Print(const std::vector<Json::Value>& objects)
{
    Begin();
    if (m_format != Report::Format::Json) {
        PrintRows(objects);
    } else {
        for (const Json::Value& object : objects) {
            std::cout << (m_hasAny ? ",\n" : "\n") << Base::WriteJson(m_compact, object);
            m_hasAny = true;
        }
    }
    Report::RequireWrittenOutput();
}

void ListOutput::End(const Json::Value& tail)
{
    Begin();
    if (m_format == Report::Format::Json) {
        const std::string text = Base::WriteJson(m_compact, tail);
        std::cout << "\n]" << (tail.empty() ? "}" : "," + text.substr(1)) << std::endl;
    } else if (!m_hasAny) {
        PrintRows({});
    }
}

ExitCode ListOutput::PrintAll(const std::function<bool()>& read, LogTail& log)
{
    Json::Value tail;
    try {
        tail["complete"] = read();
    } catch (const Failure& failure) {
        if (m_format != Report::Format::Json || !m_hasBegun) {
            throw;
        }
        const Explanation explanation = Explain(failure, log.Take());
        tail["complete"] = false;
        tail["error"] = ToJson(explanation);
        End(tail);
        Tell(explanation);
        return explanation.exit;
    }
    End(tail);
    return ExitCode::Done;
}

void ListOutput::Begin()
{
    if (m_hasBegun) {
        return;
    }
    m_hasBegun = true;
    if (m_format == Report::Format::Json) {
        std::string text = Base::WriteJson(m_compact, m_head);
        text.pop_back(); // the closing brace comes behind the list
        JsonAnswer::Begin();
        std::cout << text << ",\"" << m_name << "\":[";
    }
}

void ListOutput::PrintRows(const std::vector<Json::Value>& objects)
{
    std::vector<Report::Row> rows;
    const auto add = [&](const auto& cellOf) {
        Report::Row& row = rows.emplace_back();
        for (const Column& column : m_columns) {
            if (!column.isWide || m_format == Report::Format::Wide) {
                row.push_back(cellOf(column));
            }
        }
    };
    if (!m_hasAny) {
        add([](const Column& column) -> std::string { return column.heading; });
    }
    for (const Json::Value& object : objects) {
        add([&object](const Column& column) { return CellOf(column, object[column.member]); });
    }
    m_hasAny = true;
    Report::Table(rows, m_widths);
}
