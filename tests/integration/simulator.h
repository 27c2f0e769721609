#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_SIMULATOR_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_SIMULATOR_H

#include "tests/support/http_message.h"
#include "tests/support/process.h"

#include <json/value.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// One request as the simulator's journal tells it.
struct JournalEntry {
    std::string method;
    std::string target; ///< masked where it holds a secret
    Json::Value body;
    std::string listener;
    std::int64_t monotonicMilliseconds = 0;
    std::int64_t code = 0; ///< of the envelope
    std::string encoding;  ///< of the answer's body; empty: as it is
};

/// A simulator in a process of its own, steered through its admin resources.
class Simulator {
public:
    std::vector<JournalEntry> Journal() const;
    void ClearJournal() const;
    void AddFault(const std::string& json) const;
    void ClearFaults() const;

    /// Waits until each fault has hit as often as it is to. One that goes on for ever never has.
    void AwaitFaultsHit() const;

    void EndSessions() const;
    std::size_t SessionCount() const;

    Process& Program() { return *m_process; }

protected:
    /// Starts zavsim with these arguments and returns when it listens on `adminUrl`, the last that it tells.
    Simulator(const Process::Arguments& arguments, std::string adminUrl);
    ~Simulator() = default;

    Json::Value Admin(const std::string& method, const std::string& resource, const std::string& body = {}) const;
    void SetListening(const std::string& url, bool isListening) const;

    /// A request to what is simulated itself, on the address that is used for steering.
    HttpReply Exchange(const std::string& method, const std::string& target, const std::string& body,
                       const Headers& headers = {}) const;

private:
    std::string m_adminUrl;
    std::unique_ptr<Process> m_process;
};

/// Throws std::runtime_error when it is none.
Json::Value ParseJsonText(const std::string& text);

#endif
