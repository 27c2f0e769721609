#include "simulator/http/journal.h"

#include "base/utc_text.h"
#include "simulator/http/masking.h"
#include "simulator/json/json_io.h"

#include <algorithm>
#include <ctime>

namespace ZavSim {

namespace {

std::int64_t Milliseconds(std::chrono::nanoseconds duration)
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(duration).count();
}

std::string TextOf(std::chrono::system_clock::time_point time)
{
    const std::int64_t milliseconds = Milliseconds(time.time_since_epoch());
    std::string text = Base::UtcText(static_cast<std::time_t>(milliseconds / 1000));
    const std::string fraction = std::to_string(1000 + milliseconds % 1000);
    return text.replace(text.size() - 1, 1, "." + fraction.substr(1) + "Z");
}

void AddAnswer(Json::Value& record, std::chrono::nanoseconds duration, const HttpAnswer& answer,
               const std::string& fault)
{
    record["durationMs"] = Json::Int64(Milliseconds(duration));
    record["status"] = answer.delivery.part == Delivery::Part::None ? 0 : answer.status;
    if (answer.code) {
        record["code"] = Json::Int64(*answer.code);
    }
    if (!answer.encoding.empty()) {
        record["encoding"] = answer.encoding;
    }
    if (answer.session != 0) {
        record["session"] = Json::UInt64(answer.session);
    }
    if (!fault.empty()) {
        record["fault"] = fault;
    }
}

/// The record with its body in it; not under the lock, as it takes a while. Parsed, not pasted in: the client's text
/// may have line ends, which an event must not.
void AddBody(Json::Value& record, const std::string& body)
{
    if (!body.empty()) {
        std::string ignored;
        record["body"] = ParseJson(body, ignored).value_or(Json::Value());
    }
}

} // namespace

std::uint64_t Journal::Begin(const HttpRequest& request)
{
    const auto begin = std::chrono::steady_clock::now();
    Json::Value record(Json::objectValue);
    record["time"] = TextOf(std::chrono::system_clock::now());
    record["monotonicMs"] = Json::Int64(Milliseconds(begin.time_since_epoch()));
    record["listener"] = request.listener;
    record["peer"] = request.peer;
    record["connection"] = Json::UInt64(request.connection);
    record["method"] = request.method;
    record["target"] = MaskTarget(request.target);
    std::string body = MaskBody(request);
    Json::Value told;
    std::string toldBody;
    std::uint64_t number = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        number = ++m_last;
        record["number"] = Json::UInt64(number);
        if (m_events.IsWatched()) {
            told = record;
            toldBody = body;
        }
        m_entries.push_back({number, begin, std::move(record), std::move(body), 0});
        if (m_entries.size() > m_capacity) {
            m_bodyBytes -= m_entries.front().bodyBytes;
            m_entries.pop_front();
        }
        CountBody(m_entries.back(), m_entries.back().body.size());
    }
    if (!told.isNull()) {
        AddBody(told, toldBody);
        m_events.Publish("request", told);
    }
    return number;
}

void Journal::End(std::uint64_t number, const HttpAnswer& answer, const std::string& fault, const std::string& shown)
{
    const auto end = std::chrono::steady_clock::now();
    Json::Value told;
    std::string toldBody;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        Entry* const entry = Find(number);
        if (entry == nullptr) {
            return; // cleared or pushed out meanwhile
        }
        AddAnswer(entry->record, end - entry->begin, answer, fault);
        if (!shown.empty()) {
            entry->record["answer"] = shown;
            CountBody(*entry, shown.size());
        }
        if (m_events.IsWatched()) {
            told = entry->record;
            toldBody = entry->body;
        }
    }
    if (!told.isNull()) {
        AddBody(told, toldBody);
        m_events.Publish("answer", told);
    }
}

Journal::Entry* Journal::Find(std::uint64_t number)
{
    if (m_entries.empty() || number < m_entries.front().number || number > m_entries.back().number) {
        return nullptr;
    }
    return &m_entries[static_cast<std::size_t>(number - m_entries.front().number)];
}

void Journal::CountBody(Entry& entry, std::size_t bytes)
{
    entry.bodyBytes += bytes;
    m_bodyBytes += bytes;
    m_firstWithBody = std::max(std::min(m_firstWithBody, entry.number), m_entries.front().number);
    while (m_bodyBytes > MOST_BODY_BYTES) {
        Entry& oldest = *Find(m_firstWithBody++);
        m_bodyBytes -= oldest.bodyBytes;
        oldest.bodyBytes = 0;
        oldest.body = std::string(); // clear() would keep the memory
        oldest.record.removeMember("answer");
    }
}

Json::Value Journal::Since(std::uint64_t since, std::size_t most) const
{
    Json::Value answer(Json::objectValue);
    std::vector<std::string> bodies; // of the entries
    std::unique_lock<std::mutex> guard(m_lock);
    answer["last"] = Json::UInt64(m_last);
    const std::uint64_t oldest = m_entries.empty() ? m_last + 1 : m_entries.front().number;
    const std::uint64_t seen = std::max(since, m_cleared);
    answer["lost"] = Json::UInt64(oldest > seen + 1 ? oldest - seen - 1 : 0);
    answer["entries"] = Json::arrayValue;
    const std::uint64_t newest = m_last > most ? m_last - most : 0;
    for (const Entry& entry : m_entries) {
        if (entry.number > std::max(since, newest)) {
            answer["entries"].append(entry.record);
            bodies.push_back(entry.body);
        }
    }
    guard.unlock();
    for (std::size_t i = 0; i < bodies.size(); ++i) {
        AddBody(answer["entries"][static_cast<Json::ArrayIndex>(i)], bodies[i]);
    }
    return answer;
}

void Journal::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_entries.clear();
    m_bodyBytes = 0;
    m_cleared = m_last;
}

} // namespace ZavSim
