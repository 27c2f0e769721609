#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_INFO_READER_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_INFO_READER_H

#include "device/device_operate.h"
#include "device/device_set_operator.h"
#include "tests/support/named_row.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

/// The two classes that read device-information files, seen alike.
class InfoReader {
public:
    virtual ~InfoReader() = default;
    virtual std::string File(const std::string& key) = 0;
    virtual bool ReadConfig(std::string& path, std::string& content) = 0;
    virtual bool Read(const std::string& key, std::map<std::string, std::string>& info) = 0;

    /// Called by Read when it has come to the file.
    std::function<void()> m_onReadConfig = [] {};
};

template <typename Base>
class InfoReaderOf : public InfoReader {
public:
    std::string File(const std::string& key) override { return m_object.GetDeviceInfoCfgFile(key); }
    bool ReadConfig(std::string& path, std::string& content) override { return m_object.ReadConfig(path, content); }
    bool Read(const std::string& key, std::map<std::string, std::string>& info) override
    {
        return m_object.ReadInfoFromJson(key, info);
    }

private:
    class Observed : public Base {
    public:
        explicit Observed(const InfoReader& reader)
            : m_reader(reader)
        {
        }

        bool ReadConfig(std::string& path, std::string& content) override
        {
            m_reader.m_onReadConfig();
            return Base::ReadConfig(path, content);
        }

    private:
        const InfoReader& m_reader;
    };

    Observed m_object{*this};
};

struct ReaderKind : NamedRow {
    std::function<std::unique_ptr<InfoReader>()> make;
    std::string kept; ///< of "left over\n", which the content held before ReadConfig
};

inline const ReaderKind DEVICE_READER = {
    {"DeviceOperate"}, [] { return std::make_unique<InfoReaderOf<DeviceOperate>>(); }, ""};
inline const ReaderKind SET_READER = {
    {"DeviceSetOperator"}, [] { return std::make_unique<InfoReaderOf<DeviceSetOperator>>(); }, "left over\n"};

#endif
