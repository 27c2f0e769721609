#include "tests/support/exposition_reader.h"

#include <limits>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace {

const std::string NAME = "[a-zA-Z_:][a-zA-Z0-9_:]*";

[[noreturn]] void Refuse(const std::string& why, const std::string& line)
{
    throw std::runtime_error(why + ": " + line);
}

std::string Unescaped(const std::string& text)
{
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
            plain += text[i] == 'n' ? '\n' : text[i];
        } else {
            plain += text[i];
        }
    }
    return plain;
}

ExpositionReader::Labels LabelsIn(const std::string& text)
{
    static const std::regex label("([a-zA-Z_][a-zA-Z0-9_]*)=\"((?:[^\"\\\\]|\\\\[\\\\\"n])*)\"(,|$)");
    ExpositionReader::Labels labels;
    std::smatch found;
    for (auto at = text.begin(); at != text.end(); at = found[0].second) {
        if (!std::regex_search(at, text.end(), found, label, std::regex_constants::match_continuous)) {
            Refuse("labels that are none", text);
        }
        if (!labels.emplace(found[1], Unescaped(found[2])).second) {
            Refuse("a label twice", text);
        }
    }
    return labels;
}

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

ExpositionReader::ExpositionReader(const std::string& text)
{
    if (text.empty() || text.back() != '\n') {
        Refuse("the last line does not end", text);
    }
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        line.rfind("# ", 0) == 0 ? ReadComment(line) : ReadSample(line);
    }
    for (const auto& [name, type] : m_types) {
        if ((type == "counter") != EndsWith(name, "_total")) {
            Refuse("a name that is not its type's", name + " " + type);
        }
        if (type == "histogram") {
            RequireSoundHistogram(name);
        }
    }
}

void ExpositionReader::ReadComment(const std::string& line)
{
    static const std::regex comment("# (HELP|TYPE) (" + NAME + ") (\\S.*)");
    std::smatch parts;
    if (!std::regex_match(line, parts, comment)) {
        Refuse("a comment that is none", line);
    }
    const bool isHelp = parts[1] == "HELP";
    m_family = parts[2];
    if (!(isHelp ? m_helps : m_types).emplace(parts[2], parts[3]).second) {
        Refuse("a family that was told before", line);
    }
    if (!isHelp && m_helps.count(m_family) == 0) {
        Refuse("a type without help", line);
    }
    static const std::regex type("gauge|counter|histogram");
    if (!isHelp && !std::regex_match(m_types[m_family], type)) {
        Refuse("an unknown type", line);
    }
}

void ExpositionReader::ReadSample(const std::string& line)
{
    static const std::regex sample("(" + NAME + ")(?:\\{(.*)\\})? (-?[0-9]+(?:\\.[0-9]+)?)");
    std::smatch parts;
    if (!std::regex_match(line, parts, sample)) {
        Refuse("a sample that is none", line);
    }
    const std::string name = parts[1];
    const bool isOfHistogram =
        m_types[m_family] == "histogram" &&
        (name == m_family + "_bucket" || name == m_family + "_sum" || name == m_family + "_count");
    if (name != m_family && !isOfHistogram) {
        Refuse("a sample outside of its family", line);
    }
    if (!m_samples[name].emplace(LabelsIn(parts[2]), std::stod(parts[3])).second) {
        Refuse("a sample twice", line);
    }
}

void ExpositionReader::RequireSoundHistogram(const std::string& name) const
{
    std::map<double, double> buckets;
    for (const auto& [labels, value] : m_samples.at(name + "_bucket")) {
        const std::string& bound = labels.at("le");
        buckets[bound == "+Inf" ? std::numeric_limits<double>::infinity() : std::stod(bound)] = value;
    }
    double before = 0;
    for (const auto& [bound, value] : buckets) {
        if (value < before) {
            Refuse("a bucket that is smaller than one within it", name);
        }
        before = value;
    }
    if (buckets.rbegin()->second != Value(name + "_count")) {
        Refuse("buckets that do not hold all", name);
    }
    Value(name + "_sum");
}

double ExpositionReader::Value(const std::string& name, const Labels& labels) const
{
    const auto samples = m_samples.find(name);
    if (samples != m_samples.end()) {
        const auto sample = samples->second.find(labels);
        if (sample != samples->second.end()) {
            return sample->second;
        }
    }
    throw std::runtime_error("no sample " + name);
}
