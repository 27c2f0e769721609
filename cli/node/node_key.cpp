#include "cli/node/node_key.h"

#include "base/secret.h"
#include "cli/console/consent.h"
#include "cli/console/failure.h"
#include "cli/console/report.h"
#include "common/framework/security.h"

#ifdef PRODUCT_STORAGE_OPEN_FRAMEWORK

#include "framework/public/node_key.h"

using State = OpenFramework::NodeKey::State;

namespace {

std::string NoKeyIn(const std::string& path)
{
    return "there is no key in " + path + " yet";
}

bool IsWantedByAPerson(const std::string& path)
{
    return Consent::CanBeAsked() && Consent::Give(NoKeyIn(path) + ": make one?");
}

} // namespace

NodeKey::NodeKey(bool isNewWanted)
{
    const OpenFramework::NodeKey found = OpenFramework::LookAtNodeKey();
    if (found.state == State::Missing) {
        if (!isNewWanted && !IsWantedByAPerson(found.path)) {
            throw Failure(ExitCode::Unusable, NoKeyIn(found.path));
        }
        m_newPath = found.path;
    } else if (isNewWanted) {
        throw Failure(ExitCode::Unusable,
                      "no new key is made: " + (found.state == State::Usable
                                                    ? "there is one in " + found.path + ", which stays as it is"
                                                    : found.problem));
    }
}

NodeKey::Finding NodeKey::LookAt()
{
    const OpenFramework::NodeKey found = OpenFramework::LookAtNodeKey();
    const bool isMissing = found.state == State::Missing;
    return {isMissing, isMissing ? NoKeyIn(found.path) : found.problem};
}

bool NodeKey::IsCipher(const std::string& text)
{
    return text.rfind("AES256GCM.", 0) == 0;
}

#else

NodeKey::NodeKey(bool /*isNewWanted*/) {}

NodeKey::Finding NodeKey::LookAt()
{
    return {};
}

bool NodeKey::IsCipher(const std::string& /*text*/)
{
    return true;
}

#endif

std::string NodeKey::Encrypt(const std::string& password) const
{
    std::string cipher;
    std::string errorText;
    if (!SecuritySS::ZelkEncryptInfo(password, cipher, errorText)) {
        throw Failure(ExitCode::Unusable, "password: " + errorText);
    }
    if (!m_newPath.empty()) {
        Report::Step("made a new key, " + m_newPath + ": keep a copy of it in a safe place");
    }
    return cipher;
}

std::string NodeKey::ProblemOfCipher(const std::string& cipher)
{
    std::string password;
    const Secret::ScopedWipe wipePassword(password);
    if (SecuritySS::ZelkDecryptInfo(cipher, password)) {
        return {};
    }
    std::string problem = LookAt().problem;
    if (!problem.empty()) {
        return problem;
    }
    return IsCipher(cipher) ? "it was made with another key than this node's, or changed since"
                            : "it is no credential that this product stored";
}
