#ifndef PRODUCT_STORAGE_CLI_RECORD_RECORDED_OBJECTS_H
#define PRODUCT_STORAGE_CLI_RECORD_RECORDED_OBJECTS_H

#include "cli/array/array_objects.h"
#include "common/records.h"

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

/// The FC port names that a record has.
std::set<std::string> RecordedPorts(const DeviceMessage& record);

/// In the order in which they are taken apart: mapping view, host group, host, LUN group.
std::array<RecordedObject, 4> RecordedObjects(const DeviceMessage& record);

#endif
