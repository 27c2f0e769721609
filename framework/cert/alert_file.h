#ifndef PRODUCT_STORAGE_FRAMEWORK_CERT_ALERT_FILE_H
#define PRODUCT_STORAGE_FRAMEWORK_CERT_ALERT_FILE_H

#include <string>

namespace Framework {

/// The certificate alerts of one role: a JSON file that holds one alert for each address, as in
///
///     {"alerts":[{"address":"10.0.0.1","reason":"certificate has expired","time":"2026-01-31T23:59:59Z"}]}
///
/// Several threads and processes may work on the same file. Each change replaces the whole file at once. A file that
/// holds something else is set aside, as <file>.unreadable, before a new one is begun.
class AlertFile {
public:
    /// The file is in `directory`, under a name made of `role` that is one file name whatever the role holds.
    AlertFile(const std::string& directory, const std::string& role);

    const std::string& Path() const { return m_path; }

    /// Keeps an alert for `address`, in place of an older one. False, with the reason in `problem`, when that failed.
    bool Raise(const std::string& address, const std::string& reason, std::string& problem) const;

    /// Drops the alert for `address`; none is no error, and then the file is left as it is. False, with the reason in
    /// `problem`, when that failed.
    bool Clear(const std::string& address, std::string& problem) const;

private:
    std::string m_path;
};

} // namespace Framework

#endif
