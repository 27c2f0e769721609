#ifndef PRODUCT_STORAGE_CLI_RECORD_RECORDED_OBJECTS_H
#define PRODUCT_STORAGE_CLI_RECORD_RECORDED_OBJECTS_H

#include "cli/array/array_objects.h"
#include "common/records.h"
#include "device/device_info_record.h"

#include <array>
#include <set>
#include <string>

/// An object that a record names; id and name are empty where it names none.
struct RecordedObject {
    const ObjectKind* kind;
    std::string id;
    std::string name;

    /// "host 1 (its name)".
    std::string Naming() const { return kind->Naming(id) + " (" + name + ")"; }
};

/// A kind that this node makes, and where a record has its one.
struct RecordedKind {
    const ObjectKind* kind;
    const DeviceInfoRecord::Object& members;

    RecordedObject In(const DeviceMessage& record) const { return {kind, record.*members.id, record.*members.name}; }
};

/// In the order in which they are taken apart: mapping view, host group, host, LUN group.
const std::array<RecordedKind, 4>& RecordedKinds();

/// The FC port names that a record has.
std::set<std::string> RecordedPorts(const DeviceMessage& record);

/// Of each kind, in that order.
std::array<RecordedObject, 4> RecordedObjects(const DeviceMessage& record);

#endif
