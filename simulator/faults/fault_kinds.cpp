#include "simulator/faults/fault_kinds.h"

#include "simulator/json/json_io.h"
#include "simulator/message/http_date.h"

#include <algorithm>
#include <stdexcept>

namespace ZavSim {

namespace {

void SetPlainText(const Fault& fault, HttpAnswer& answer)
{
    answer.status = fault.status;
    answer.contentType = "text/plain";
    answer.body = "Injected fault\n";
}

void SetGivenAnswer(const Fault& fault, HttpAnswer& answer)
{
    answer.body = WriteJson(fault.answer);
}

void SetGarbage(const Fault& /*fault*/, HttpAnswer& answer)
{
    answer.body = "<html>This is not JSON.</html>";
    answer.code = std::nullopt;
}

void DropCookies(const Fault& /*fault*/, HttpAnswer& answer)
{
    const auto isCookie = [](const auto& header) { return header.first == "Set-Cookie"; };
    answer.headers.erase(std::remove_if(answer.headers.begin(), answer.headers.end(), isCookie), answer.headers.end());
}

template <Delivery::Part PART, Delivery::End END>
void Deliver(const Fault& /*fault*/, HttpAnswer& answer)
{
    answer.delivery.part = PART;
    answer.delivery.end = END;
}

void AnnounceWrongLength(const Fault& fault, HttpAnswer& answer)
{
    answer.delivery.lengthError = fault.bytes == 0 ? 1 : fault.bytes;
}

void Drip(const Fault& fault, HttpAnswer& answer)
{
    answer.delivery.pieceBytes = fault.bytes > 0 ? static_cast<std::size_t>(fault.bytes) : 1;
    answer.delivery.pieceInterval = fault.duration;
}

void SetDate(const Fault& fault, HttpAnswer& answer)
{
    answer.headers.emplace_back("Date", HttpDate(fault.duration));
}

constexpr auto BREAK = &Deliver<Delivery::Part::None, Delivery::End::Break>;

} // namespace

const std::vector<FaultKind>& AllFaultKinds()
{
    using Part = Delivery::Part;
    using End = Delivery::End;
    // A row to a kind.
    // clang-format off
    static const std::vector<FaultKind> KINDS = {
        {"code", {"code"}, {"description", "result"}, Treatment::Refused, Pause::None, nullptr,
         "the envelope bears `code` and `description`; on the cluster, `result` chooses its form"},
        {"answer", {"answer"}, {}, Treatment::Ignored, Pause::None, &SetGivenAnswer,
         "the body is the JSON value `answer`, whatever the system is"},
        {"status", {"status"}, {}, Treatment::Ignored, Pause::None, &SetPlainText,
         "HTTP status `status`"},
        {"delay", {"milliseconds"}, {}, Treatment::CarriedOut, Pause::Duration, nullptr,
         "the answer comes `milliseconds` later"},
        {"drop", {}, {}, Treatment::Ignored, Pause::None, BREAK,
         "the connection ends without an answer"},
        {"drop-answer", {}, {}, Treatment::CarriedOut, Pause::None, BREAK,
         "the connection ends without an answer"},
        {"cut", {}, {}, Treatment::CarriedOut, Pause::None, &Deliver<Part::Half, End::Close>,
         "the connection ends in the middle of the body"},
        {"tls-cut", {}, {}, Treatment::CarriedOut, Pause::None, &Deliver<Part::Half, End::Break>,
         "the same without TLS's goodbye"},
        {"reset", {}, {}, Treatment::Ignored, Pause::None, &Deliver<Part::None, End::Reset>,
         "the connection is reset without an answer"},
        {"reset-in-answer", {}, {}, Treatment::CarriedOut, Pause::None, &Deliver<Part::Half, End::Reset>,
         "the connection is reset in the middle of the body"},
        {"reset-after-answer", {}, {}, Treatment::CarriedOut, Pause::None, &Deliver<Part::All, End::Reset>,
         "the connection is reset behind the answer"},
        {"wrong-length", {}, {"bytes"}, Treatment::CarriedOut, Pause::None, &AnnounceWrongLength,
         "the announced length is `bytes` more than the body's (1; below 0: less)"},
        {"drip", {"milliseconds"}, {"bytes"}, Treatment::CarriedOut, Pause::None, &Drip,
         "the answer comes in pieces of `bytes` (1), `milliseconds` apart"},
        {"garbage", {}, {}, Treatment::CarriedOut, Pause::None, &SetGarbage,
         "the body is not JSON"},
        {"silent", {}, {"milliseconds"}, Treatment::Ignored, Pause::DurationOrEver, BREAK,
         "no answer until the client gives up, or for `milliseconds`, then the connection ends"},
        {"no-cookie", {}, {}, Treatment::CarriedOut, Pause::None, &DropCookies,
         "the answer sets no cookie"},
        {"clock", {"milliseconds"}, {}, Treatment::CarriedOut, Pause::None, &SetDate,
         "the answer's Date is `milliseconds` ahead"},
    };
    // clang-format on
    return KINDS;
}

const FaultKind& FaultKindOf(const std::string& word)
{
    const std::vector<FaultKind>& kinds = AllFaultKinds();
    const auto found =
        std::find_if(kinds.begin(), kinds.end(), [&word](const FaultKind& kind) { return word == kind.word; });
    if (found == kinds.end()) {
        throw std::invalid_argument("kind: no fault is called \"" + word + '"');
    }
    return *found;
}

} // namespace ZavSim
