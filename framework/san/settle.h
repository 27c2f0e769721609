#ifndef PRODUCT_STORAGE_FRAMEWORK_SAN_SETTLE_H
#define PRODUCT_STORAGE_FRAMEWORK_SAN_SETTLE_H

#include "framework/san/array_session.h"
#include "framework/san/patience.h"

#include <optional>

namespace Framework {

/// Whether a refusal may mean that the array holds already what is asked for.
enum class AfterRefusal {
    GiveUp, ///< it may be somebody else's that stands in the way
    Look,   ///< what is asked for is the same, whoever asked for it first
};

/// Gives a session's requests their usual time again at the end.
class StandardLimitAfterwards {
public:
    explicit StandardLimitAfterwards(ArraySession& session) noexcept
        : m_session(session)
    {
    }
    StandardLimitAfterwards(const StandardLimitAfterwards&) = delete;
    StandardLimitAfterwards& operator=(const StandardLimitAfterwards&) = delete;
    ~StandardLimitAfterwards() { m_session.LimitTo(ArraySession::STANDARD_TIMEOUT_SECONDS); }

private:
    ArraySession& m_session;
};

/// The array refuses to be looked at: an outcome in doubt stays so.
struct CannotLook {};

template <typename Look>
auto LookAfterDoubt(const Look& look)
{
    try {
        return look();
    } catch (const ArrayUnsettled&) {
        throw; // to be tried again
    } catch (const ArrayError&) {
        throw CannotLook();
    }
}

/// After a refusal, which counts for more than why it cannot be looked.
template <typename Look>
auto LookAfterRefusal(const Look& look) -> decltype(look())
{
    try {
        return look();
    } catch (const ArrayError&) {
        return {};
    }
}

/// Has `send` change something on the array until it is known that it did or was refused, and returns what `send`
/// returns. When the array gave no answer, or was busy, `look` is asked first: it returns what stands, or nothing, and
/// then `send` is called again. As patient as Patience. Throws the first doubt when it
/// stays one.
template <typename Send, typename Look>
auto Settle(ArraySession& session, AfterRefusal afterRefusal, const Send& send, const Look& look)
{
    const StandardLimitAfterwards limit(session);
    Patience patience;
    std::optional<ArrayUnsettled> doubt;
    for (;;) {
        try {
            if (doubt) {
                if (auto standing = LookAfterDoubt(look)) {
                    return *standing;
                }
            }
            return send();
        } catch (const ArrayUnsettled& error) {
            if (!doubt) {
                doubt = error;
            }
            if (!patience.Wait()) {
                throw ArrayUnsettled(*doubt);
            }
            session.LimitTo(patience.SecondsLeft());
        } catch (const CannotLook&) {
            throw ArrayUnsettled(*doubt);
        } catch (const ArrayRefusal&) {
            // What was asked for before, and not answered, may have come through since it was looked for.
            if (!doubt && afterRefusal == AfterRefusal::GiveUp) {
                throw;
            }
            if (auto standing = LookAfterRefusal(look)) {
                return *standing;
            }
            throw;
        }
    }
}

} // namespace Framework

#endif
