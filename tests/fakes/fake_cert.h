#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_CERT_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_CERT_H

#include "common/framework/product_messages.pb.h"

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
    void Clear();

    std::vector<Verification> Verifications() const;
    std::vector<Resumption> Resumptions() const;
    std::vector<std::string> ResumedAddresses() const;

    bool Verify(const Verification& verification);
    void Resume(const Resumption& resumption);

private:
    mutable std::mutex m_lock;
    bool m_isTrusting = false;                 // guarded by m_lock
    std::string m_error;                       // guarded by m_lock
    std::vector<Verification> m_verifications; // guarded by m_lock
    std::vector<Resumption> m_resumptions;     // guarded by m_lock
};

#endif
