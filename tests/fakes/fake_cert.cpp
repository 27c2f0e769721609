#include "tests/fakes/fake_cert.h"

#include "common/framework/cert.h"
#include "tests/fakes/fakes.h"

#include <stdexcept>

// The certificate service's symbols.

bool Cert::VerifyCertForEnv(const EnvironmentPath& env, EnvironmentPath& result, const std::string& component,
                            VerifiedCertInfo& /*info*/, bool raiseAlert, const std::string& role,
                            const unsigned long& requestId)
{
    return Fakes::Certificates().Verify({env, result.ByteSizeLong() == 0, component, raiseAlert, role, requestId});
}

void Cert::ResumeAlertForEnv(std::string address, const std::string& role, const unsigned long& requestId)
{
    Fakes::Certificates().Resume({address, role, requestId});
}

// What stands behind them.

void FakeCert::Trust()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_isTrusting = true;
}

void FakeCert::Throw(const std::string& text)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_error = text;
}

void FakeCert::Observe(const std::function<void(const std::string& address)>& observer)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_observer = observer;
}

void FakeCert::Tell(const std::string& address) const
{
    std::function<void(const std::string&)> observer;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        observer = m_observer;
    }
    if (observer) {
        observer(address);
    }
}

void FakeCert::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_observer = nullptr;
    m_isTrusting = false;
    m_error.clear();
    m_verifications.clear();
    m_resumptions.clear();
}

std::vector<FakeCert::Verification> FakeCert::Verifications() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_verifications;
}

std::vector<FakeCert::Resumption> FakeCert::Resumptions() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_resumptions;
}

std::vector<std::string> FakeCert::ResumedAddresses() const
{
    std::vector<std::string> addresses;
    for (const Resumption& resumption : Resumptions()) {
        addresses.push_back(resumption.address);
    }
    return addresses;
}

bool FakeCert::Verify(const Verification& verification)
{
    Tell("");
    const std::lock_guard<std::mutex> guard(m_lock);
    m_verifications.push_back(verification);
    if (!m_error.empty()) {
        throw std::runtime_error(m_error);
    }
    return m_isTrusting;
}

void FakeCert::Resume(const Resumption& resumption)
{
    Tell(resumption.address);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_resumptions.push_back(resumption);
}
