#include "cli/picture/picture_output.h"

#include "base/printable_text.h"
#include "base/program.h"
#include "cli/console/failure.h"
#include "cli/console/farewell.h"

#include <boost/algorithm/string/replace.hpp>

#include <csignal>
#include <stdexcept>

namespace {

Report::Look LookOf(Standing standing)
{
    switch (standing) {
    case Standing::Missing:
    case Standing::Foreign:
        return Report::Look::Cause;
    case Standing::Unrecorded:
    case Standing::Down:
        return Report::Look::Warning;
    case Standing::Sound:
        break;
    }
    return Report::Look::Plain;
}

// "missing: the array has none of this id"; empty for what is sound.
std::string MarkOf(const PictureItem& item)
{
    return item.standing == Standing::Sound ? "" : WordOf(item.standing) + (": " + item.why);
}

std::string LineOf(const PictureItem& item, bool isWide)
{
    const std::string mark = MarkOf(item);
    return item.Naming() + (item.state.empty() ? "" : "  " + item.state) +
           (isWide && !item.detail.empty() ? "  " + item.detail : "") + (mark.empty() ? "" : "  " + mark);
}

void PrintParts(const PictureItem& item, const std::string& indent, bool isWide)
{
    for (const PictureItem& part : item.parts) {
        const bool isLast = &part == &item.parts.back();
        Report::Print(indent + (isLast ? "└─ " : "├─ "), LineOf(part, isWide), LookOf(part.standing));
        PrintParts(part, indent + (isLast ? "   " : "│  "), isWide);
    }
}

Json::Value ItemToJson(const PictureItem& item)
{
    Json::Value value;
    value["kind"] = item.kind;
    const auto enter = [&value](const char* name, const std::string& text) {
        if (!text.empty()) {
            value[name] = text;
        }
    };
    enter("id", item.id);
    enter("name", item.name);
    enter("state", item.state);
    enter("detail", item.detail);
    enter("why", item.why);
    value["standing"] = item.standing == Standing::Sound ? "sound" : WordOf(item.standing);
    for (const PictureItem& part : item.parts) {
        value["parts"].append(ItemToJson(part));
    }
    return value;
}

const char* ColourOf(Standing standing)
{
    switch (standing) {
    case Standing::Missing:
    case Standing::Foreign:
        return "#c62828";
    case Standing::Unrecorded:
    case Standing::Down:
        return "#9a5b00";
    case Standing::Sound:
        break;
    }
    return "#2e7d32";
}

std::string DotText(const std::string& text)
{
    std::string quoted = Base::Printable(text);
    boost::replace_all(quoted, "&", "&amp;"); // Graphviz knows entities
    boost::replace_all(quoted, "\\", "\\\\");
    boost::replace_all(quoted, "\"", "\\\"");
    return quoted;
}

// Returns the number that the item got.
int AddToDot(const PictureItem& item, int& last, std::string& dot)
{
    const int number = last++;
    std::string label = DotText(item.kind + (item.id.empty() ? "" : " " + item.id));
    for (const std::string& line : {item.name, item.state, MarkOf(item)}) {
        label += line.empty() ? "" : "\\n" + DotText(line);
    }
    const bool isMissing = item.standing == Standing::Missing;
    dot += "  n" + std::to_string(number) + " [label=\"" + label + "\", color=\"" + ColourOf(item.standing) +
           "\", style=\"" + (isMissing ? "rounded,dashed" : "rounded") + "\"];\n";
    for (const PictureItem& part : item.parts) {
        const int below = AddToDot(part, last, dot);
        dot += "  n" + std::to_string(number) + " -> n" + std::to_string(below) +
               (part.standing == Standing::Missing ? " [style=dashed];\n" : ";\n");
    }
    return number;
}

std::string HtmlText(const std::string& text)
{
    std::string escaped = Base::Printable(text);
    boost::replace_all(escaped, "&", "&amp;");
    boost::replace_all(escaped, "<", "&lt;");
    boost::replace_all(escaped, ">", "&gt;");
    boost::replace_all(escaped, "\"", "&quot;");
    return escaped;
}

const char* ClassOf(Standing standing)
{
    switch (standing) {
    case Standing::Missing:
        return "missing";
    case Standing::Foreign:
        return "foreign";
    case Standing::Unrecorded:
    case Standing::Down:
        return "doubtful";
    case Standing::Sound:
        break;
    }
    return "sound";
}

std::string Span(const char* kind, const std::string& text)
{
    return text.empty() ? "" : std::string("<span class=\"") + kind + "\">" + HtmlText(text) + "</span>";
}

void AddToHtml(const PictureItem& item, std::string& html)
{
    html += std::string("<li><div class=\"item ") + ClassOf(item.standing) + "\">" +
            Span("kind", item.kind + (item.id.empty() ? "" : " " + item.id)) + Span("name", item.name) +
            Span("state", item.state) + Span("detail", item.detail) + Span("mark", MarkOf(item)) + "</div>";
    if (!item.parts.empty()) {
        html += "<ul>\n";
        for (const PictureItem& part : item.parts) {
            AddToHtml(part, html);
        }
        html += "</ul>";
    }
    html += "</li>\n";
}

constexpr const char* STYLE = R"(
:root { color-scheme: light dark; --line: #9aa0a6; --sound: #2e7d32; --bad: #c62828; --doubt: #9a5b00; --soft: #5f6368; }
@media screen and (prefers-color-scheme: dark) {
  :root { --line: #70757a; --sound: #81c995; --bad: #f28b82; --doubt: #fdd663; --soft: #9aa0a6; }
}
body { font: 15px/1.45 system-ui, sans-serif; margin: 2rem auto; max-width: 62rem; padding: 0 1rem; }
h1 { font-size: 1.3rem; margin: 0 0 .3rem; overflow-wrap: anywhere; }
p.verdict { margin: 0 0 1.2rem; }
ul { list-style: none; margin: 0; padding-left: 1.4rem; }
body > ul { padding-left: 0; }
li { position: relative; padding: .18rem 0; }
ul ul > li::before { content: ""; position: absolute; left: -.8rem; top: 0; height: 1.25rem; width: .7rem;
  border-left: 1.5px solid var(--line); border-bottom: 1.5px solid var(--line); border-bottom-left-radius: 5px; }
ul ul > li:not(:last-child)::after { content: ""; position: absolute; left: -.8rem; top: 0; bottom: 0;
  border-left: 1.5px solid var(--line); }
.item { display: inline-block; border: 1.5px solid var(--sound); border-left-width: 6px; border-radius: 7px;
  padding: .2rem 0 .2rem .7rem; overflow-wrap: anywhere; }
.item > span { display: inline-block; margin-right: .7rem; }
.item.missing { border-color: var(--bad); border-style: dashed; border-left-style: solid; }
.item.foreign { border-color: var(--bad); }
.item.doubtful { border-color: var(--doubt); }
.kind { font-weight: 600; }
.name, .detail { font-family: ui-monospace, monospace; font-size: .9em; }
.detail, .state { color: var(--soft); }
.item > span.mark { display: block; }
.missing .mark, .foreign .mark, .verdict.bad { color: var(--bad); font-weight: 600; }
.doubtful .mark { color: var(--doubt); font-weight: 600; }
@media print { :root { color-scheme: light; } body { margin: 0; max-width: none; } .item { break-inside: avoid; } }
)";

} // namespace

void PictureOutput::PrintTree(const NodePicture& picture, bool isWide)
{
    Report::Print("", LineOf(picture.root, isWide), LookOf(picture.root.standing));
    PrintParts(picture.root, "", isWide);
}

Json::Value PictureOutput::ToJson(const NodePicture& picture)
{
    Json::Value answer;
    answer["schema"] = Report::SCHEMA;
    answer["prepared"] = picture.faults.empty();
    answer["faults"] = Report::JsonList(picture.faults);
    answer["node"] = ItemToJson(picture.root);
    return answer;
}

std::string PictureOutput::ToDot(const NodePicture& picture)
{
    std::string dot = "digraph mapping {\n"
                      "  rankdir=LR;\n"
                      "  node [shape=box, fontname=\"sans-serif\", fontsize=11, penwidth=1.6];\n"
                      "  edge [color=\"#70757a\"];\n";
    int last = 0;
    AddToDot(picture.root, last, dot);
    return dot + "}\n";
}

std::string PictureOutput::ToSvg(const NodePicture& picture)
{
    try {
        Base::Program graphviz({"dot", "-Tsvg"}, {}, ToDot(picture));
        const Farewell ended([&graphviz] { graphviz.Signal(SIGKILL); }); // a command leaves no other running
        if (graphviz.Wait() != 0) {
            throw Failure(ExitCode::Refused, "dot -Tsvg: " + graphviz.Errors());
        }
        return graphviz.Output();
    } catch (const std::runtime_error& error) {
        if (const auto* const failure = dynamic_cast<const Failure*>(&error)) {
            throw Failure(*failure);
        }
        throw Failure(ExitCode::Unusable, error.what());
    }
}

std::string PictureOutput::ToHtml(const NodePicture& picture)
{
    const std::string title = HtmlText(picture.root.Naming() + " " + picture.root.state);
    std::string html = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
                       "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>" +
                       title + "</title>\n<style>" + STYLE + "</style>\n</head>\n<body>\n<h1>" + title + "</h1>\n";
    if (picture.faults.empty()) {
        html += "<p class=\"verdict\">This node is prepared.</p>\n";
    } else {
        html += "<p class=\"verdict bad\">This node is not rightly prepared.</p>\n";
    }
    html += "<ul>\n";
    for (const PictureItem& part : picture.root.parts) {
        AddToHtml(part, html);
    }
    return html + "</ul>\n</body>\n</html>\n";
}
