#ifndef PRODUCT_STORAGE_TESTS_INTEGRATION_ARRAY_H
#define PRODUCT_STORAGE_TESTS_INTEGRATION_ARRAY_H

#include "tests/integration/simulator.h"

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

/// A simulated array. It is steered on its last management address: tests stop the first.
class Array : public Simulator {
public:
    static constexpr int PORT = 8088;

    /// Returns when it listens.
    explicit Array(const ArrayOptions& options);

    const ArrayOptions& Options() const noexcept { return m_options; }
    std::string Url(std::size_t managementIp = 0) const;

    /// "METHOD resource" of each request since the journal was last cleared, without the part up to the device id.
    std::vector<std::string> Requests() const;

    /// All that stands on it, and what holds what.
    Json::Value Objects() const;

    /// Ids of all objects of a kind, by the kind's resource name ("hostgroup").
    std::vector<std::string> Ids(const std::string& kind) const;
    Json::Value Object(const std::string& kind, const std::string& id) const;

    /// Ids of the members of one kind that an object has.
    std::vector<std::string> Members(const std::string& kind, const std::string& id, const std::string& member) const;

    void DeleteBehindBack(const std::string& kind, const std::string& id) const;
    void SetListening(std::size_t managementIp, bool isListening) const;
    void SetFcPortOnline(const std::string& wwn, bool isOnline) const;

    /// A request to the array itself on a session of the test's own; the answer's data. For what an operator does.
    Json::Value Operate(const std::string& method, const std::string& resource, const std::string& body) const;

private:
    ArrayOptions m_options;
};

#endif
