#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_CONFIG_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_CONFIG_H

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// The configuration reader. A key that no test set reads as a default that disturbs nothing.
class FakeConfig {
public:
    void Set(const std::string& key, int value);
    void SetNotRetryErrorCodes(const std::set<int>& codes);
    void Clear();

    /// "section/key" of every integer read, in order.
    std::vector<std::string> Reads() const;

    int Read(const std::string& section, const std::string& key, bool quietDefault);
    std::set<int> NotRetryErrorCodes() const;

private:
    mutable std::mutex m_lock;
    std::map<std::string, int> m_values; // guarded by m_lock
    std::set<int> m_notRetryErrorCodes;  // guarded by m_lock
    std::vector<std::string> m_reads;    // guarded by m_lock
};

#endif
