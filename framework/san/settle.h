#ifndef PRODUCT_STORAGE_FRAMEWORK_SAN_SETTLE_H
#define PRODUCT_STORAGE_FRAMEWORK_SAN_SETTLE_H

#include "framework/san/array_session.h"
#include "framework/san/patience.h"

#include <chrono>
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
    ~StandardLimitAfterwards() { m_session.EndBy(std::chrono::steady_clock::time_point::max()); }

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

/// What stands, as far as the array tells within the patience that is left; `isTold` says whether it does.
template <typename Look>
auto TryToLook(const Look& look, Patience& patience, bool& isTold) -> decltype(look())
{
    isTold = false;
    for (;;) {
        try {
            auto standing = look();
            isTold = true;
            return standing;
        } catch (const ArrayUnsettled&) {
            if (!patience.Wait()) {
                return {};
            }
        } catch (const ArrayError&) {
            return {};
        }
    }
}

/// Has `send` change something on the array until it is known that it did or was refused, and returns what `send`
/// returns. When the array gave no answer, or was busy, `look` is asked first: it returns what stands, or nothing, and
/// then `send` is called again. As patient as Patience. `doubt` is what is in doubt from before. Throws the first
/// doubt, as ArrayUnsettled, when it stays one, and what `send` threw otherwise: then it is known that nothing was
/// done.
template <typename Send, typename Look>
auto Settle(ArraySession& session, AfterRefusal afterRefusal, const Send& send, const Look& look,
            std::optional<ArrayUnsettled> doubt = std::nullopt)
{
    const StandardLimitAfterwards limit(session);
    Patience patience;
    const auto lookInTime = [&] {
        session.EndBy(patience.End());
        return look();
    };
    bool isTold = false;
    for (;;) {
        try {
            if (doubt) {
                if (auto standing = LookAfterDoubt(lookInTime)) {
                    return *standing;
                }
                session.EndBy(patience.End());
            }
            return send();
        } catch (const ArrayUnsettled& error) {
            if (!doubt) {
                doubt = error;
            }
            if (patience.Wait()) {
                continue;
            }
            if (auto standing = TryToLook(lookInTime, patience, isTold)) { // what the last try did
                return *standing;
            }
            throw ArrayUnsettled(*doubt);
        } catch (const CannotLook&) {
            throw ArrayUnsettled(*doubt);
        } catch (const ArrayError& error) {
            const bool isRefusal = dynamic_cast<const ArrayRefusal*>(&error) != nullptr;
            if (!doubt && (!isRefusal || afterRefusal == AfterRefusal::GiveUp)) {
                throw;
            }
            // What was asked for before, and not answered, may have come through since it was looked for.
            if (auto standing = TryToLook(lookInTime, patience, isTold)) {
                return *standing;
            }
            if (doubt && !isTold) {
                throw ArrayUnsettled(*doubt);
            }
            throw;
        }
    }
}

} // namespace Framework

#endif
