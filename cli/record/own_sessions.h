#ifndef PRODUCT_STORAGE_CLI_RECORD_OWN_SESSIONS_H
#define PRODUCT_STORAGE_CLI_RECORD_OWN_SESSIONS_H

#include "cli/array/array_login.h"
#include "cli/node/iscsi_sessions.h"

#include <optional>
#include <vector>

/// The iSCSI sessions to an array that zavctl saw begin: they stand in the journal beside the objects that this node
/// made, and are this node's to end.
namespace OwnSessions {

/// Sees which sessions with the array's service addresses begin while it lives, and enters them into the journal.
class Begin {
public:
    /// `login` must outlive it.
    explicit Begin(const ArrayLogin& login);
    Begin(const Begin&) = delete;
    Begin& operator=(const Begin&) = delete;
    ~Begin();

private:
    const ArrayLogin& m_login;
    std::optional<std::vector<IscsiSession>> m_before; ///< nothing: not known, and so none is seen to begin
};

/// Those that stand. What the journal names and does not stand leaves it, where that `isForgotten`. Throws Failure,
/// with nothing changed, where iscsiadm does not tell which stand.
std::vector<IscsiSession> Standing(const ArrayLogin& login, bool isForgotten);

/// Throws Failure with Foreign where one of their disks is used, naming by whom; nothing was changed.
void RequireIdle(const std::vector<IscsiSession>& sessions);

/// Ends each and takes it out of the journal. Throws Failure naming the first that stays.
void End(const ArrayLogin& login, const std::vector<IscsiSession>& sessions);

} // namespace OwnSessions

#endif
