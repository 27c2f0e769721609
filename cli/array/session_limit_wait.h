#ifndef PRODUCT_STORAGE_CLI_ARRAY_SESSION_LIMIT_WAIT_H
#define PRODUCT_STORAGE_CLI_ARRAY_SESSION_LIMIT_WAIT_H

#include <boost/chrono/duration.hpp>

#include <cstdint>
#include <optional>

/// How long a login is repeated to an array that has as many sessions as it takes: with pauses that double from a
/// second, each up to half more or less, so that nodes that were refused together do not come back together, and a
/// minute in all.
class SessionLimitWait {
public:
    static constexpr boost::chrono::milliseconds IN_ALL{60000};

    /// The pause before the next try, which counts as waited; nothing when the minute would be over. `chance` is drawn
    /// evenly from all that it can be: 0 gives half the pause.
    std::optional<boost::chrono::milliseconds> Next(std::uint8_t chance);

private:
    boost::chrono::milliseconds m_pause{1000}; // before chance
    boost::chrono::milliseconds m_waited{0};
};

#endif
