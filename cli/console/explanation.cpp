#include "cli/console/explanation.h"

#include "base/files.h"
#include "cli/console/remedies.h"
#include "cli/console/report.h"
#include "common/result_codes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>
#include <regex>
#include <string_view>
#include <utility>

namespace {

using LogLines = std::vector<LogTail::Line>;

struct Cause {
    std::string text;
    ExitCode exit;
    std::string number = {}; // as NumberGiven has it
};

std::string Quoted(std::string_view text)
{
    return "\"" + std::string(text) + "\"";
}

// What stands behind `mark`, or nothing.
std::optional<std::string_view> Behind(std::string_view text, std::string_view mark)
{
    const std::size_t position = text.find(mark);
    return position == std::string_view::npos ? std::nullopt : std::optional(text.substr(position + mark.size()));
}

// "create host "n" failed: the array answered with error 7: text", as the open SAN library says it.
std::optional<Cause> RefusalOfSan(const LogTail::Line& line)
{
    constexpr std::string_view MARK = " failed: the array answered with error ";
    const auto rest = Behind(line.text, MARK);
    const std::size_t colon = rest ? rest->find(": ") : std::string_view::npos;
    if (colon == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view until(line.text.data(), line.text.find(MARK));
    const std::string operation(Behind(until, "oLib ex:").value_or(until));
    const std::string number(rest->substr(0, colon));
    return Cause{"the array refused to " + operation + ": " + Quoted(rest->substr(colon + 2)) + " (" + number + ")",
                 ExitCode::Refused, number};
}

// What a request of the SAN library or the library itself met on the way, as libcurl says it.
std::optional<Cause> NetworkFailure(const LogTail::Line& line)
{
    if (line.text.find("(libcurl ") == std::string::npos) {
        return std::nullopt;
    }
    const auto rest = Behind(line.text, "Error  is ");
    return Cause{std::string(rest.value_or(line.text)), ExitCode::Unreachable,
                 NumberGiven(line.text, ResultCode::FAILED)};
}

std::optional<Cause> WordsOfIscsiadm(const LogTail::Line& line)
{
    const auto words = Behind(line.text, "iscsiadm said: ");
    return words ? std::optional(Cause{"iscsiadm said " + Quoted(*words), ExitCode::Refused}) : std::nullopt;
}

std::optional<Cause> UnreachablePortal(const LogTail::Line& line)
{
    const auto address = Behind(line.text, "Target address is unreachable, address is ");
    return address ? std::optional(Cause{"the iSCSI portal " + std::string(*address) + " takes no connection",
                                         ExitCode::Unreachable})
                   : std::nullopt;
}

std::optional<Cause> UnreachableServer(const LogTail::Line& line)
{
    const auto rest = Behind(line.text, "No connection to ");
    const auto why = rest ? Behind(*rest, ": ") : std::nullopt;
    return why ? std::optional(Cause{std::string(*why), ExitCode::Unreachable}) : std::nullopt;
}

std::optional<Cause> FailureOfFile(const LogTail::Line& line)
{
    const auto rest = Behind(line.text, "errno ");
    int number = 0;
    if (!rest || std::from_chars(rest->data(), rest->data() + rest->size(), number).ec != std::errc()) {
        return std::nullopt;
    }
    const auto place = Behind(*rest, ") at ");
    const std::size_t open = rest->find('(');
    const std::size_t close = rest->find(')');
    if (!place || open == std::string_view::npos || close < open) {
        return std::nullopt;
    }
    return Cause{std::string(*place) + ": " + std::string(rest->substr(open + 1, close - open - 1)),
                 ExitCodeOfFile(number)};
}

std::optional<Cause> FailureOfKey(const LogTail::Line& line)
{
    const auto why = Behind(line.text, "A stored credential cannot be decrypted. ");
    const std::size_t size = why && !why->empty() ? why->size() - 1 : 0; // without the full stop
    return why ? std::optional(Cause{std::string(why->substr(0, size)), ExitCode::Unusable}) : std::nullopt;
}

std::optional<Cause> FailureOfLock(const LogTail::Line& line)
{
    return line.text.find("The lock file ") == 0 ? std::optional(Cause{line.text, ExitCode::Unreachable})
                                                 : std::nullopt;
}

// "code : 7, Describe : text", as the library's own requests are refused.
std::optional<Cause> RefusalOfRest(const LogTail::Line& line)
{
    const auto rest = Behind(line.text, "code : ");
    const std::size_t comma = rest ? rest->find(", Describe : ") : std::string_view::npos;
    if (line.operation != "ParseRsp" || comma == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string number(rest->substr(0, comma));
    return Cause{"the array refused: " + Quoted(rest->substr(comma + 13)) + " (" + number + ")", ExitCode::Refused,
                 number};
}

// The first line that says why. A query without an id, which each fresh run sends for what the record lacks, is refused
// and means nothing.
std::optional<Cause> CauseIn(const LogLines& lines)
{
    using Reader = std::optional<Cause> (*)(const LogTail::Line&);
    constexpr std::array<Reader, 7> READERS = {&RefusalOfSan,  &NetworkFailure, &WordsOfIscsiadm, &UnreachablePortal,
                                               &FailureOfFile, &FailureOfKey,   &FailureOfLock};
    for (const LogTail::Line& line : lines) {
        for (const Reader read : READERS) {
            if (auto cause = read(line)) {
                return cause;
            }
        }
    }
    unsigned int withoutId = 0;
    for (const LogTail::Line& line : lines) {
        withoutId += line.text.find(" is nil!") != std::string::npos ? 1 : 0;
        auto cause = RefusalOfRest(line);
        if (cause && withoutId == 0) {
            return cause;
        }
        withoutId -= cause ? 1 : 0;
    }
    for (const LogTail::Line& line : lines) { // which stands in front of what that meant to an operation
        if (auto cause = UnreachableServer(line)) {
            return cause;
        }
    }
    return std::nullopt;
}

// What was said to the last request that gave `code`; where that is FAILED, which many an operation makes of any other,
// to the last that failed.
std::optional<Cause> CauseOfRequest(const LogLines& lines, int code)
{
    const bool isAny = code == ResultCode::FAILED;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        auto cause = isAny || code == ResultCode::TRANSPORT_ERROR ? NetworkFailure(*line) : std::nullopt;
        if (!cause) {
            cause = RefusalOfRest(*line);
            if (cause && !isAny && cause->number != std::to_string(code)) {
                cause.reset();
            }
        }
        if (cause) {
            return cause;
        }
    }
    return std::nullopt;
}

// Why no session came about at a further address.
struct OtherAddress {
    std::string url;
    std::string reason;
    std::string number; // as NumberGiven has it
};

// Of several tries at one address the last counts.
std::vector<OtherAddress> OtherAddresses(const LogLines& lines)
{
    constexpr std::string_view BEFORE_URL = "Login Zav device failed using this mgmt IP:  ";
    constexpr std::string_view BEFORE_WHY = ", error msg is ";
    constexpr std::string_view BEFORE_CODE = ", error code is ";
    std::vector<OtherAddress> others;
    const std::string transport = std::to_string(ResultCode::TRANSPORT_ERROR);
    for (const LogTail::Line& line : lines) {
        const auto rest = Behind(line.text, BEFORE_URL);
        const std::size_t why = rest ? rest->find(BEFORE_WHY) : std::string_view::npos;
        const std::size_t code = rest ? rest->rfind(BEFORE_CODE) : std::string_view::npos;
        if (why == std::string_view::npos || code == std::string_view::npos || code < why) {
            continue;
        }
        const std::size_t start = why + BEFORE_WHY.size();
        const std::string number(rest->substr(code + BEFORE_CODE.size()));
        OtherAddress other = {std::string(rest->substr(0, why)), std::string(rest->substr(start, code - start)), ""};
        if (number == std::to_string(ResultCode::FAILED)) { // whose text may be that of the address before
            other.reason = "the answer is of no use";
        } else if (number == transport) { // which says nothing more than the text
            other.number = NumberGiven(other.reason, ResultCode::FAILED);
        } else {
            other.reason += " (" + number + ")";
            other.number = number;
        }
        const auto known = std::find_if(others.begin(), others.end(),
                                        [&other](const OtherAddress& each) { return each.url == other.url; });
        if (known == others.end()) {
            others.push_back(std::move(other));
        } else {
            *known = std::move(other);
        }
    }
    return others;
}

// The first url of the cause, else the first path. The library's matcher goes as deep as a match is long, and a cause
// may hold words of an array that have no end: no place is longer than what is looked at.
std::string PlaceIn(const std::string& cause)
{
    constexpr std::size_t LONGEST = 4096;
    const std::string front = cause.substr(0, LONGEST);
    static const std::regex url("https?://(\\[[0-9A-Fa-f:.%]+\\]|[^\\]\\[ ,:/]+)(:[0-9]+)?");
    static const std::regex path("(^| )(/[^ :]+)");
    std::smatch match;
    if (std::regex_search(front, match, url)) {
        return match[0];
    }
    return std::regex_search(front, match, path) ? match[2].str() : "";
}

// A file that cannot be used because this user may not is told as that, whoever found it, and reassured behind it.
bool IsForbidden(const std::string& cause)
{
    const std::string why = cause.substr(0, cause.rfind("; nothing was changed"));
    for (const int number : {EACCES, EPERM}) {
        const std::string words = ": " + Base::ErrorText(number);
        if (why.size() >= words.size() && why.compare(why.size() - words.size(), words.size(), words) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

Explanation Explain(const Failure& failure, const std::vector<LogTail::Line>& logged)
{
    Explanation explanation = {failure.what(), "", failure.Code(), failure.Number()};
    if (failure.IsCauseLogged()) {
        const auto& requestCode = failure.RequestCode();
        if (const auto cause = requestCode ? CauseOfRequest(logged, *requestCode) : CauseIn(logged)) {
            explanation.cause += ": " + cause->text;
            explanation.number = cause->number;
            explanation.exit = failure.Code() == ExitCode::Refused ? cause->exit : failure.Code();
        }
    }
    if (failure.AreOthersLogged()) {
        for (const OtherAddress& other : OtherAddresses(logged)) {
            explanation.cause += "; nor at " + other.url + ": " + other.reason;
            explanation.number = other.number.empty() ? explanation.number : other.number;
        }
    }
    if (explanation.exit == ExitCode::Unusable && IsForbidden(explanation.cause)) {
        explanation.exit = ExitCode::NoPermission;
    }
    explanation.remedy = RemedyFor(explanation.cause, explanation.exit);
    return explanation;
}

void Tell(const Explanation& explanation, const std::string& when)
{
    Report::TellFailure(when + explanation.cause, explanation.remedy);
}

Json::Value ToJson(const Explanation& explanation)
{
    Json::Value value;
    value["cause"] = explanation.cause;
    value["remedy"] = explanation.remedy;
    value["exit"] = static_cast<int>(explanation.exit);
    const auto enter = [&](const char* name, const std::string& text) {
        if (!text.empty()) {
            value[name] = text;
        }
    };
    enter("code", explanation.number);
    enter("where", PlaceIn(explanation.cause));
    return value;
}
