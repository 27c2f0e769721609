#include "tests/fakes/fake_config.h"

#include "common/framework/config_reader.h"
#include "tests/fakes/fakes.h"

#include <gtest/gtest.h>

// The configuration reader's symbols.

int ConfigReader::getInt(const std::string& section, const std::string& key, bool quietDefault)
{
    return Fakes::Config().Read(section, key, quietDefault);
}

std::set<int> ConfigReader::getNerovaxDiskArrayNotRetryErrorCode()
{
    return Fakes::Config().NotRetryErrorCodes();
}

// The values behind them.

namespace {

const std::map<std::string, int> DEFAULTS = {
    {"DosRequestInterval", 0}, // no request follows another too closely
    {"DosRequestCount", 1},
    {"TestNetTimeOut", 3},
};

} // namespace

void FakeConfig::Set(const std::string& key, int value)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_values[key] = value;
}

void FakeConfig::SetNotRetryErrorCodes(const std::set<int>& codes)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_notRetryErrorCodes = codes;
}

void FakeConfig::Clear()
{
    const std::lock_guard<std::mutex> guard(m_lock);
    m_values = DEFAULTS;
    m_notRetryErrorCodes.clear();
    m_reads.clear();
}

std::vector<std::string> FakeConfig::Reads() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_reads;
}

int FakeConfig::Read(const std::string& section, const std::string& key, bool quietDefault)
{
    EXPECT_EQ("BackupNode", section);
    EXPECT_TRUE(quietDefault);
    const std::lock_guard<std::mutex> guard(m_lock);
    m_reads.push_back(section + "/" + key);
    return m_values.at(key);
}

std::set<int> FakeConfig::NotRetryErrorCodes() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_notRetryErrorCodes;
}
