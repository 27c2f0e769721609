#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_SAN_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_SAN_H

#include "common/framework/san_manager.h"

#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// The SAN management library: creates whatever it is asked for, under fixed ids, and keeps a list of what it was
/// asked.
///
/// The list's words are also those by which a test makes an operation fail: "create LUN group", "create host",
/// "create host group", "create mapping view", "create iSCSI initiator", "create FC initiator", "add host",
/// "add host group", "add LUN group", "add initiator", and "get handler 3" by the number
/// of the type, which is not listed.
class FakeSan {
public:
    // The ids that created objects get.
    static constexpr const char* LUN_GROUP_ID = "31";
    static constexpr const char* HOST_ID = "12";
    static constexpr const char* HOST_GROUP_ID = "5";
    static constexpr const char* MAP_VIEW_ID = "7";

    struct Connection {
        std::string address;
        unsigned int port = 0;
        std::string deviceId;
        std::string token;
        std::string cookie;
    };

    /// The array knows the initiator already, as one of `hostId`.
    void InitiatorBelongsTo(const std::string& initiatorId, const std::string& hostId);

    /// The operation throws what is a std::exception and nothing more, with `text`.
    void Fail(const std::string& operation, const std::string& text);

    /// The operation throws something that is no std::exception: `thrown`.
    void ThrowOther(const std::string& operation, int thrown);
    void HaveNoHandler(HANDLERTYPE type);
    void RefuseConnections();
    void HaveNoManager();

    /// Called with each operation as Calls has it, and with "connect", before it does anything; may throw.
    void Observe(const std::function<void(const std::string& call)>& observer);

    /// Called with each handle's return, before it is gone.
    void ObserveRelease(const std::function<void()>& observer);
    void Clear();

    /// Everything that was asked, in words: "create host Vendrix_x", "add host 12 to host group 5", ….
    std::vector<std::string> Calls() const;
    std::vector<Connection> Connections() const;

    /// "mode,limit" of every handle asked for.
    std::vector<std::string> InstanceArguments() const;
    int ManagersMade() const;
    int ManagersReleased() const;

    // What the library's symbols call.
    CDeviceManager* MakeManager(unsigned int mode, unsigned int limit);
    void CountRelease();
    bool Connect(const Connection& connection);
    /// Throws where it is to fail.
    bool HasHandler(HANDLERTYPE type) const;
    void Perform(const std::string& operation, const std::string& details);
    std::string ParentOf(const std::string& initiatorId) const;

private:
    void Tell(const std::string& call) const;

    mutable std::mutex m_lock;
    std::map<std::string, std::string> m_parents;       // guarded by m_lock
    std::map<std::string, std::string> m_failures;      // guarded by m_lock
    std::map<std::string, int> m_others;                // guarded by m_lock
    std::set<int> m_missingHandlers;                    // guarded by m_lock
    bool m_isRefusing = false;                          // guarded by m_lock
    bool m_hasManager = true;                           // guarded by m_lock
    std::function<void(const std::string&)> m_observer; // guarded by m_lock
    std::function<void()> m_releaseObserver;            // guarded by m_lock
    std::vector<std::string> m_calls;                   // guarded by m_lock
    std::vector<Connection> m_connections;              // guarded by m_lock
    std::vector<std::string> m_arguments;               // guarded by m_lock
    int m_made = 0;                                     // guarded by m_lock
    int m_released = 0;                                 // guarded by m_lock
};

#endif
