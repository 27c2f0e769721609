#include "cli/watch/exposition.h"

#include "base/printable_text.h"

#include <boost/algorithm/string/replace.hpp>

#include <iomanip>
#include <locale>
#include <sstream>

namespace {

std::string LabelValue(const std::string& value)
{
    std::string text = Base::Printable(value);
    boost::replace_all(text, "\\", "\\\\");
    boost::replace_all(text, "\"", "\\\"");
    return text;
}

} // namespace

void Exposition::Family(const std::string& name, const std::string& type, const std::string& help)
{
    m_text += "# HELP " + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

void Exposition::Sample(const std::string& name, const Labels& labels, std::uint64_t value)
{
    Line(name, labels, std::to_string(value));
}

void Exposition::Seconds(const std::string& name, const Labels& labels, double value)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(3) << value;
    Line(name, labels, text.str());
}

void Exposition::Line(const std::string& name, const Labels& labels, const std::string& value)
{
    std::string list;
    for (const auto& [label, text] : labels) {
        list += (list.empty() ? "" : ",") + label + "=\"" + LabelValue(text) + "\"";
    }
    m_text += name + (list.empty() ? "" : "{" + list + "}") + " " + value + "\n";
}
