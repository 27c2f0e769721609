#ifndef PRODUCT_STORAGE_CLI_WATCH_REFUSED_LOGINS_H
#define PRODUCT_STORAGE_CLI_WATCH_REFUSED_LOGINS_H

#include "cli/preparation/preparation.h"

#include <map>
#include <string>
#include <vector>

/// The arrays of a watch that refused their login. None is tried again as it is, which would lock the user out: it is
/// held back, while the others go on, until its environment or the configuration is another.
class RefusedLogins {
public:
    using Targets = std::vector<Preparation::Target>;

    /// What a login by the environment at `path` goes by: the texts of environment and configuration as they are now.
    /// An environment that can be read once, such as standard input, has no part in it.
    static std::string InputsOf(const std::string& path);

    /// `targets` must outlive it.
    explicit RefusedLogins(Targets& targets)
        : m_targets(targets)
    {
    }

    /// Holds back those whose login was refused in this round.
    void HoldBack(const Preparation::Outcome& outcome);

    /// Lets those go whose environment or configuration changed, with what their environments say now. One that cannot
    /// be read stays held back, as one that somebody is writing; that is told once where it stays so. True when one was
    /// let go.
    bool LetGoWhatChanged();

    std::size_t Count() const noexcept { return m_held.size(); }

private:
    /// Why an environment that changed is not taken.
    struct Unreadable {
        std::string inputs;
        bool isTold = false;
    };

    bool LetGo(Preparation::Target& target, Unreadable& unreadable);

    Targets& m_targets;
    std::map<const Preparation::Target*, Unreadable> m_held;
};

#endif
