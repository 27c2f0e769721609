#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_ARRAY_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_ARRAY_H

#include "tests/integration/process.h"

#include <json/value.h>

#include <memory>
#include <string>
#include <vector>

/// How a simulated array is started.
struct ArrayOptions {
    std::string serial; ///< device id too
    std::vector<std::string> managementIps;
    std::vector<std::string> serviceIps;
    std::string protocol = "https";
    std::string caFolder; ///< empty: the stage's
    std::vector<std::string> further;
};

/// One request as the array's journal tells it.
struct JournalEntry {
    std::string method;
    std::string target; ///< masked where it holds a secret
    Json::Value body;
    std::string listener;
    std::int64_t monotonicMilliseconds = 0;
    std::int64_t code = 0; ///< of the envelope
};

/// A simulated array in a process of its own, steered through its admin resources.
class Array {
public:
    static constexpr int PORT = 8088;

    /// Returns when it listens.
    Array(const std::string& directory, const ArrayOptions& options);

    const ArrayOptions& Options() const noexcept { return m_options; }
    std::string Url(std::size_t managementIp = 0) const;

    std::vector<JournalEntry> Journal() const;

    /// "METHOD resource" of each request since the journal was last cleared, without the part up to the device id.
    std::vector<std::string> Requests() const;
    void ClearJournal() const;

    /// Ids of all objects of a kind, by the kind's resource name ("hostgroup").
    std::vector<std::string> Ids(const std::string& kind) const;
    Json::Value Object(const std::string& kind, const std::string& id) const;

    /// Ids of the members of one kind that an object has.
    std::vector<std::string> Members(const std::string& kind, const std::string& id, const std::string& member) const;

    void DeleteBehindBack(const std::string& kind, const std::string& id) const;
    void SetListening(std::size_t managementIp, bool isListening) const;
    void SetFcPortOnline(const std::string& wwn, bool isOnline) const;
    void AddFault(const std::string& json) const;
    void EndSessions() const;
    std::size_t SessionCount() const;

    /// A request to the array itself on a session of the test's own; the answer's data. For what an operator does.
    Json::Value Operate(const std::string& method, const std::string& resource, const std::string& body) const;

    Process& Program() { return *m_process; }

private:
    Json::Value Admin(const std::string& method, const std::string& resource, const std::string& body = {}) const;

    ArrayOptions m_options;
    std::unique_ptr<Process> m_process;
    std::size_t m_adminListener = 0; // the last: tests stop the first
};

#endif
