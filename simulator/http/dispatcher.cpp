#include "simulator/http/dispatcher.h"

#include "simulator/http/compression.h"
#include "simulator/json/json_io.h"

#include <algorithm>

namespace ZavSim {

namespace {

HttpAnswer PlainAnswer(int status, const std::string& text)
{
    HttpAnswer answer;
    answer.status = status;
    answer.contentType = "text/plain";
    answer.body = text + "\n";
    return answer;
}

HttpAnswer JsonAnswer(const Json::Value& value)
{
    HttpAnswer answer;
    answer.body = WriteJson(value);
    return answer;
}

HttpAnswer NoAnswer()
{
    HttpAnswer answer;
    answer.delivery = Delivery::Nothing;
    return answer;
}

void DropCookies(HttpAnswer& answer)
{
    const auto isCookie = [](const auto& header) { return header.first == "Set-Cookie"; };
    answer.headers.erase(std::remove_if(answer.headers.begin(), answer.headers.end(), isCookie), answer.headers.end());
}

} // namespace

void Dispatcher::Mount(const std::string& prefix, HttpHandler& system)
{
    m_mounts.push_back({prefix, &system, true});
}

void Dispatcher::MountUnobserved(const std::string& prefix, HttpHandler& system)
{
    m_mounts.push_back({prefix, &system, false});
}

const Dispatcher::MountPoint* Dispatcher::Find(const std::string& target) const
{
    const auto found = std::find_if(m_mounts.begin(), m_mounts.end(), [&target](const MountPoint& mount) {
        return target.compare(0, mount.prefix.size(), mount.prefix) == 0;
    });
    return found == m_mounts.end() ? nullptr : &*found;
}

HttpAnswer Dispatcher::Serve(const HttpRequest& request, Peer& peer)
{
    const MountPoint* const mount = Find(request.target);
    HttpHandler* const system = mount == nullptr ? nullptr : mount->system;
    if (mount != nullptr && !mount->observed) {
        return ServeSafely(system, request);
    }
    const std::uint64_t number = m_journal.Begin(request);
    const auto fault = m_faults.Draw(request.method, request.target);
    HttpAnswer answer = fault ? ServeFaulty(*fault, system, request, peer) : ServeSafely(system, request);
    CompressIfAsked(request, answer); // after the fault, which may have put another body into it
    m_journal.End(number, answer, fault ? FaultToJson(*fault)["kind"].asString() : "");
    return answer;
}

HttpAnswer Dispatcher::ServeSafely(HttpHandler* system, const HttpRequest& request)
{
    if (system == nullptr) {
        return PlainAnswer(404, "zavsim serves nothing here");
    }
    try {
        return system->Handle(request);
    } catch (const std::exception& error) {
        return PlainAnswer(500, error.what());
    }
}

HttpAnswer Dispatcher::ServeFaulty(const Fault& fault, HttpHandler* system, const HttpRequest& request, Peer& peer)
{
    switch (fault.kind) {
    case FaultKind::Code:
        return system == nullptr ? ServeSafely(system, request) : system->Refuse(request, fault);
    case FaultKind::Answer:
        return JsonAnswer(fault.answer);
    case FaultKind::Status:
        return PlainAnswer(fault.status, "Injected fault");
    case FaultKind::Drop:
        return NoAnswer();
    case FaultKind::Silent:
        peer.WaitGone(fault.duration.count() == 0 ? std::nullopt : std::optional(fault.duration));
        return NoAnswer();
    case FaultKind::Delay:
        // A client that gave up meanwhile still has its request carried out, as with a slow array.
        peer.WaitGone(fault.duration);
        return ServeSafely(system, request);
    case FaultKind::DropAnswer:
    case FaultKind::Cut:
    case FaultKind::Garbage:
    case FaultKind::NoCookie:
        break;
    }
    HttpAnswer answer = ServeSafely(system, request);
    if (fault.kind == FaultKind::NoCookie) {
        DropCookies(answer);
    } else if (fault.kind == FaultKind::Garbage) {
        answer.body = "<html>This is not JSON.</html>";
        answer.code = std::nullopt;
    } else {
        answer.delivery = fault.kind == FaultKind::Cut ? Delivery::Cut : Delivery::Nothing;
    }
    return answer;
}

} // namespace ZavSim
