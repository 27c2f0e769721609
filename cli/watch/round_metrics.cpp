#include "cli/watch/round_metrics.h"

#include <sstream>
#include <utility>

namespace {

/// Every cause for which a round may leave a node unprepared. All are told from the first round on, those that it did
/// not fail for at 0: a counter that appears with its first failure shows no increase. One that failed in the first
/// round appears at 1, and shows none either; the gauge of the cause tells that round as any other.
constexpr std::array<std::pair<ExitCode, const char*>, 9> CAUSES = {{{ExitCode::NotFound, "not_found"},
                                                                     {ExitCode::Foreign, "foreign"},
                                                                     {ExitCode::LoginRefused, "login_refused"},
                                                                     {ExitCode::Unusable, "unusable"},
                                                                     {ExitCode::Unreachable, "unreachable"},
                                                                     {ExitCode::Refused, "refused"},
                                                                     {ExitCode::Drift, "drift"},
                                                                     {ExitCode::NoPermission, "no_permission"},
                                                                     {ExitCode::OurFault, "internal"}}};

const char* CauseOf(ExitCode code)
{
    for (const auto& [each, cause] : CAUSES) {
        if (each == code) {
            return cause;
        }
    }
    return "internal";
}

using Labels = Exposition::Labels;

Labels Joined(Labels labels, const Labels& more)
{
    labels.insert(labels.end(), more.begin(), more.end());
    return labels;
}

template <typename Value>
void TellByCause(Exposition& out, const std::string& name, const Labels& labels, const Value& valueOf)
{
    for (const auto& [code, cause] : CAUSES) {
        out.Sample(name, Joined(labels, {{"cause", cause}}), valueOf(cause));
    }
}

std::string BoundText(double bound)
{
    std::ostringstream text;
    text << bound;
    return text.str();
}

} // namespace

void RoundMetrics::Add(const Round& round)
{
    m_lastEnd = round.end;
    m_lastSeconds = round.seconds;
    m_allSeconds += round.seconds;
    ++m_rounds;
    for (std::size_t i = 0; i < BOUNDS.size(); ++i) {
        m_within.at(i) += round.seconds <= BOUNDS.at(i) ? 1 : 0;
    }
    for (const ArrayResult& result : round.arrays) {
        Standing& standing = m_arrays[result.environment];
        standing.last = result;
        if (result.failure) {
            ++standing.failures[CauseOf(*result.failure)];
        } else {
            standing.success = round.end;
        }
        if (!result.mapping.empty()) {
            standing.rebuilds += !standing.mapping.empty() && standing.mapping != result.mapping ? 1 : 0;
            standing.mapping = result.mapping;
        }
    }
}

struct RoundMetrics::Family {
    const char* name;
    const char* type;
    const char* help;
    void (*tell)(Exposition& out, const std::string& name, const Labels& labels, const Standing& standing);
};

// What rounds came to on each array.
const std::vector<RoundMetrics::Family>& RoundMetrics::OutcomeFamilies()
{
    static const std::vector<Family> families = {
        {"product_storage_prepared", "gauge",
         "1 where this node was rightly prepared on the array at the end of the last round, else 0.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             out.Sample(name, labels, each.last.failure ? 0 : 1);
         }},
        {"product_storage_unprepared", "gauge",
         "1 at the cause for which the last round did not leave this node prepared on the array, else 0.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             const std::string last = each.last.failure ? CauseOf(*each.last.failure) : "";
             TellByCause(out, name, labels, [&last](const std::string& cause) { return cause == last ? 1U : 0U; });
         }},
        {"product_storage_drift", "gauge",
         "1 where the last round found broken on the array or this node what it does not mend, else 0.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             out.Sample(name, labels, each.last.failure == ExitCode::Drift ? 1 : 0);
         }},
        {"product_storage_rebuilds_total", "counter",
         "Rounds that found objects gone from the array and made others in their place.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             out.Sample(name, labels, each.rebuilds);
         }},
        {"product_storage_failures_total", "counter",
         "Rounds that did not leave this node prepared on the array, by cause.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             TellByCause(out, name, labels, [&each](const std::string& cause) {
                 const auto count = each.failures.find(cause);
                 return count == each.failures.end() ? 0 : count->second;
             });
         }},
        {"product_storage_last_success_timestamp_seconds", "gauge",
         "When a round last left this node prepared on the array; 0 where none has since the program began.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             out.Sample(name, labels, static_cast<std::uint64_t>(each.success));
         }},
    };
    return families;
}

// What is known of each array once somebody logged in.
const std::vector<RoundMetrics::Family>& RoundMetrics::ArrayFamilies()
{
    static const std::vector<Family> families = {
        {"product_storage_array_info", "gauge", "The array of an environment; the value is always 1.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             if (each.last.array) {
                 const Labels more = {{"url", each.last.array->url}, {"device_key", each.last.array->deviceKey}};
                 out.Sample(name, Joined(labels, more), 1);
             }
         }},
        {"product_storage_iscsi_sessions", "gauge",
         "iSCSI sessions of this node with the array's service addresses, by state.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             if (each.last.array && each.last.array->sessions) {
                 out.Sample(name, Joined(labels, {{"state", "up"}}), each.last.array->sessions->up);
                 out.Sample(name, Joined(labels, {{"state", "down"}}), each.last.array->sessions->down);
             }
         }},
        {"product_storage_service_addresses", "gauge", "Addresses at which the array offers iSCSI sessions.",
         [](Exposition& out, const std::string& name, const Labels& labels, const Standing& each) {
             if (each.last.array) {
                 out.Sample(name, labels, each.last.array->serviceAddresses);
             }
         }},
    };
    return families;
}

void RoundMetrics::TellArrays(Exposition& out, const std::vector<Family>& families) const
{
    for (const Family& family : families) {
        out.Family(family.name, family.type, family.help);
        for (const auto& [environment, standing] : m_arrays) {
            family.tell(out, family.name, {{"environment", environment}}, standing);
        }
    }
}

void RoundMetrics::TellRounds(Exposition& out) const
{
    const std::string end = "product_storage_last_round_timestamp_seconds";
    out.Family(end, "gauge", "When the last round ended.");
    out.Sample(end, {}, static_cast<std::uint64_t>(m_lastEnd));

    const std::string last = "product_storage_last_round_duration_seconds";
    out.Family(last, "gauge", "How long the last round took.");
    out.Seconds(last, {}, m_lastSeconds);

    const std::string all = "product_storage_round_duration_seconds";
    out.Family(all, "histogram", "How long rounds took, over all arrays.");
    for (std::size_t i = 0; i < BOUNDS.size(); ++i) {
        out.Sample(all + "_bucket", {{"le", BoundText(BOUNDS.at(i))}}, m_within.at(i));
    }
    out.Sample(all + "_bucket", {{"le", "+Inf"}}, m_rounds);
    out.Seconds(all + "_sum", {}, m_allSeconds);
    out.Sample(all + "_count", {}, m_rounds);
}

std::string RoundMetrics::Text() const
{
    Exposition out;
    const std::string build = "product_storage_build_info";
    out.Family(build, "gauge", "The program that wrote this; the value is always 1.");
    out.Sample(build, {{"version", PRODUCT_STORAGE_VERSION}}, 1);
    TellArrays(out, OutcomeFamilies());
    TellArrays(out, ArrayFamilies());
    TellRounds(out);
    if (m_interval) {
        const std::string interval = "product_storage_watch_interval_seconds";
        out.Family(interval, "gauge", "The pause of a watch behind a round without failures.");
        out.Sample(interval, {}, *m_interval);
    }
    return out.Text();
}
