#include "simulator/http/dispatcher.h"

#include "simulator/faults/fault_kinds.h"
#include "simulator/http/compression.h"
#include "simulator/http/masking.h"

#include <algorithm>

namespace ZavSim {

namespace {

// What the system says, where there is one and it throws nothing.
template <typename Ask>
HttpAnswer AskSafely(const Exchange& exchange, const Ask& ask)
{
    if (exchange.system == nullptr) {
        return PlainAnswer(404, "zavsim serves nothing here");
    }
    try {
        return ask(*exchange.system);
    } catch (const std::exception& error) {
        return PlainAnswer(500, error.what());
    }
}

HttpAnswer CarryOut(const Exchange& exchange)
{
    return AskSafely(exchange, [&exchange](HttpHandler& system) { return system.Handle(exchange.request); });
}

HttpAnswer AnswerWithFault(const Exchange& exchange, const Fault& fault)
{
    HttpAnswer answer;
    if (fault.kind->treatment == Treatment::CarriedOut) {
        answer = CarryOut(exchange);
    } else if (fault.kind->treatment == Treatment::Refused) {
        answer = AskSafely(exchange, [&](HttpHandler& system) { return system.Refuse(exchange.request, fault); });
    }
    if (fault.kind->change != nullptr) {
        fault.kind->change(fault, answer);
    }
    return answer;
}

} // namespace

Exchange::Wait Exchange::TimeToWait() const
{
    if (!fault || fault->kind->pause == Pause::None) {
        return {};
    }
    const bool isEndless = fault->kind->pause == Pause::DurationOrEver && fault->duration.count() == 0;
    return {isEndless, fault->duration};
}

void Dispatcher::Mount(const std::string& prefix, HttpHandler& system)
{
    m_mounts.push_back({prefix, nullptr, &system, true});
}

void Dispatcher::MountUnobserved(const std::string& prefix, HttpHandler& system)
{
    m_mounts.push_back({prefix, nullptr, &system, false});
}

void Dispatcher::MountUnobserved(Predicate fits, HttpHandler& system)
{
    m_mounts.push_back({"", fits, &system, false});
}

const Dispatcher::MountPoint* Dispatcher::Find(const HttpRequest& request) const
{
    const auto found = std::find_if(m_mounts.begin(), m_mounts.end(), [&request](const MountPoint& mount) {
        return mount.fits != nullptr ? mount.fits(request)
                                     : request.target.compare(0, mount.prefix.size(), mount.prefix) == 0;
    });
    return found == m_mounts.end() ? nullptr : &*found;
}

Exchange Dispatcher::Begin(HttpRequest request)
{
    Exchange exchange;
    exchange.request = std::move(request);
    exchange.request.ParseBody();
    const MountPoint* const mount = Find(exchange.request);
    exchange.system = mount == nullptr ? nullptr : mount->system;
    if (mount == nullptr || mount->isObserved) {
        exchange.number = m_journal.Begin(exchange.request);
        exchange.fault = m_faults.Draw(exchange.request.method, exchange.request.target);
    }
    return exchange;
}

HttpAnswer Dispatcher::Finish(const Exchange& exchange)
{
    HttpAnswer answer = exchange.fault ? AnswerWithFault(exchange, *exchange.fault) : CarryOut(exchange);
    if (exchange.number != 0) {
        const bool isShown = m_journal.Events().IsWatched() && answer.delivery.part != Delivery::Part::None;
        const std::string shown = isShown ? MaskAnswer(answer.body) : "";
        CompressIfAsked(exchange.request, answer); // after the fault, which may have put another body into it
        m_journal.End(exchange.number, answer, exchange.fault ? exchange.fault->kind->word : "", shown);
    }
    return answer;
}

} // namespace ZavSim
