#include "cli/node/configuration_check.h"

#include "base/files.h"
#include "base/openssl_handles.h"
#include "cli/node/node_key.h"

#include <openssl/pem.h>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <exception>
#include <string_view>

namespace {

constexpr const char* FILE_VARIABLE = "PRODUCT_STORAGE_CONFIG";

using Settings = std::vector<ConfigReader::Setting>;

std::string ValueOf(const Settings& settings, std::string_view section, std::string_view key)
{
    const auto found = std::find_if(settings.begin(), settings.end(), [&](const ConfigReader::Setting& setting) {
        return setting.section == section && setting.key == key;
    });
    return found == settings.end() ? "" : found->value;
}

std::string Named(const std::string& setting, const std::string& what)
{
    return ConfigReader::getFile() + ": " + setting + " names " + what + ": ";
}

// A file that the environment names was meant to be there; the standard one need not be.
void LookAtFile(ConfigurationFindings& findings)
{
    const std::string path = ConfigReader::getFile();
    struct stat status = {};
    if (::stat(path.c_str(), &status) == 0 || errno != ENOENT) { // what else there is, the reader tells
        return;
    }
    const char* const named = std::getenv(FILE_VARIABLE);
    if (named != nullptr && named == path) {
        findings.problems.push_back(path + ", which " + FILE_VARIABLE + " names, does not exist");
    } else {
        findings.warnings.push_back(path + " does not exist: defaults hold");
    }
}

bool HoldsACertificate(const std::string& text)
{
    const Base::BioHandle bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    const Base::CertificateHandle certificate(
        bio == nullptr ? nullptr : PEM_read_bio_X509_AUX(bio.get(), nullptr, nullptr, nullptr));
    Base::TakeOpensslError();
    return certificate != nullptr;
}

// Why no certificate can be read from the file. One that is missing, the reader tells.
std::string ProblemOfCertificates(const std::string& path)
{
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) {
        return {};
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is no regular file";
    }
    try {
        return HoldsACertificate(Base::ReadFileIfThere(path).value_or("")) ? "" : "it holds no certificate";
    } catch (const std::exception& error) {
        return error.what();
    }
}

void LookAtCertificates(const Settings& settings, ConfigurationFindings& findings)
{
    const std::string path = ValueOf(settings, "Http", "CaFile");
    const std::string problem = path.empty() ? "" : ProblemOfCertificates(path);
    if (!problem.empty()) {
        findings.problems.push_back(Named("[Http] CaFile", path) + problem);
    }
    constexpr std::array<std::string_view, 4> OFF = {"false", "no", "off", "0"};
    if (std::count(OFF.begin(), OFF.end(), ValueOf(settings, "Http", "VerifyPeer")) != 0) {
        findings.warnings.push_back(ConfigReader::getFile() +
                                    ": [Http] VerifyPeer is off: anybody on the way to an array can read its password");
    }
}

void LookAtKey(ConfigurationFindings& findings)
{
    const NodeKey::Finding found = NodeKey::LookAt();
    if (found.isMissing) {
        findings.warnings.push_back(found.problem + "; zavctl password encrypt --new-key makes one");
    } else if (!found.problem.empty()) {
        findings.problems.push_back(found.problem);
    }
}

void LookAtFolders(const Settings& settings, ConfigurationFindings& findings)
{
    std::vector<std::string> folders;
    const std::string path = ValueOf(settings, "Shell", "Path");
    boost::split(folders, path, boost::is_any_of(":"));
    for (const std::string& folder : folders) {
        struct stat status = {};
        const int error = folder.empty() || ::stat(folder.c_str(), &status) == 0 ? 0 : errno;
        const bool isOther = error == 0 && !folder.empty() && !S_ISDIR(status.st_mode);
        if (error != 0 || isOther) {
            findings.problems.push_back(Named("[Shell] Path", folder) + Base::ErrorText(isOther ? ENOTDIR : error));
        }
    }
}

} // namespace

ConfigurationFindings LookAtWhatIsNamed(const std::vector<ConfigReader::Setting>& settings)
{
    ConfigurationFindings findings;
    LookAtFile(findings);
    LookAtCertificates(settings, findings);
    LookAtKey(findings);
    LookAtFolders(settings, findings);
    return findings;
}
