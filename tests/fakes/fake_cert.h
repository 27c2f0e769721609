#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_CERT_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_CERT_H

#include "common/framework/product_messages.pb.h"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// The certificate service: refuses every certificate until told to trust.
class FakeCert {
public:
    struct Verification {
        EnvironmentPath env;
        bool isResultEmpty = false; ///< the result message that was handed over had nothing in it
        std::string component;
        bool raiseAlert = false;
        std::string role;
        unsigned long requestId = 0;
    };
    struct Resumption {
        std::string address;
        std::string role;
        unsigned long requestId = 0;
    };

    void Trust();

    /// Verification throws std::runtime_error with `text`.
    void Throw(const std::string& text);

    /// Called with each verification (empty address) and each address whose alert is resumed, before anything else; may
    /// throw.
    void Observe(const std::function<void(const std::string& address)>& observer);
    void Clear();

    std::vector<Verification> Verifications() const;
    std::vector<Resumption> Resumptions() const;
    std::vector<std::string> ResumedAddresses() const;

    bool Verify(const Verification& verification);
    void Resume(const Resumption& resumption);

private:
    void Tell(const std::string& address) const;

    mutable std::mutex m_lock;
    bool m_isTrusting = false;                          // guarded by m_lock
    std::string m_error;                                // guarded by m_lock
    std::function<void(const std::string&)> m_observer; // guarded by m_lock
    std::vector<Verification> m_verifications;          // guarded by m_lock
    std::vector<Resumption> m_resumptions;              // guarded by m_lock
};

#endif
