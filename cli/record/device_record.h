#ifndef PRODUCT_STORAGE_CLI_RECORD_DEVICE_RECORD_H
#define PRODUCT_STORAGE_CLI_RECORD_DEVICE_RECORD_H

#include "common/records.h"

#include <map>
#include <string>

/// An array's record in the device-information file, as the library wrote it.
class DeviceRecord {
public:
    /// Throws Failure when the file is no such record: no regular file, more than 1 MiB, or not JSON of its form.
    explicit DeviceRecord(const std::string& deviceId);

    const std::string& Path() const noexcept { return m_path; }
    bool IsEmpty() const noexcept { return m_members.empty(); }

    /// Throws Failure when the file could not be written, for want of rights or of space. Changes nothing.
    void RequireWritable() const;

    /// The node found its host on the array and must leave it there.
    bool KeepsHost() const;
    DeviceMessage Message() const { return MessageOf(m_members); }

    /// All that it holds, by the names that it has in the file.
    const std::map<std::string, std::string>& Members() const noexcept { return m_members; }

    /// A record of these members.
    static DeviceMessage MessageOf(const std::map<std::string, std::string>& members);

    /// Puts members into the record. Throws Failure, with the file as it was, when it cannot.
    void Enter(const std::map<std::string, std::string>& members) const;

    /// Takes the record out of the file, and the file away when it held no other. Throws Failure, with the file as it
    /// was, when it cannot.
    void Remove() const;

private:
    const std::string m_deviceId;
    const std::string m_path;
    std::map<std::string, std::string> m_members;
};

#endif
