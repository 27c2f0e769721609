#ifndef PRODUCT_STORAGE_COMMON_TASK_CONSTANTS_H
#define PRODUCT_STORAGE_COMMON_TASK_CONSTANTS_H

#include <string>

/// Texts that this library shares with the product's task framework. Nothing in the library reads them; code that is
/// built on its headers does.
namespace TaskConstant {

inline const std::string LOG = "LOG";
inline const std::string HIDDEN_TEXT = "***";
inline const std::string EMPTY_TEXT;
inline const std::string DISK_RESTORE_CREATED_VOLUMES = "disk_restore_created_volumes";
inline const std::string DISK_RESTORE_ATTACHED_VOLUMES = "disk_restore_attached_volumes";
inline const std::string ADDED_STORAGE_RESOURCE = "added_storage_resource";
inline const std::string ADDED_DATASTORE = "added_datastore";
inline const std::string TASK_TYPE = "task_type";
inline const std::string INCREMENTAL_MACHINE_RESTORE = "IncrementalMachineRestore";
inline const std::string FLR_PREFIX = "QEN-FLR-";
inline const std::string INTERNAL_ERROR = "internal error.";
inline const std::string VERSION = "1.2";
inline const std::string ENCODING = "UTF-8";
inline const std::string LOCALE = "en_US";
inline const std::string NOT_EXIST = "notexit"; // so spelled in stored tasks
inline const std::string CURRENT_DIRECTORY = "./";
inline const std::string ENGINE = "ParvexEngine";
inline const std::string DIFF_BITMAP_AND_BIT_COUNT = "DiffBitmapAndBit1Num";
inline const std::string FULL_SNAPSHOT = "QEN_FULL_SNAPSHOT";

namespace DiskType {
inline const std::string IDE = "IDE";
inline const std::string SCSI = "SCSI";
inline const std::string VIRTIO = "VIRTIO";
inline const std::string LUMEDA = "LUMEDA";
inline const std::string VIRTUAL = "VIRTUAL";
inline const std::string NOT_SUPPORT = "NOT_SUPPORT";
} // namespace DiskType

namespace Placeholder {
inline const std::string VM_UUID = "###<vm_uuid>###";
inline const std::string VM_UUID_END = "###<vm_uuid_end>###";
} // namespace Placeholder

namespace TaskMode {
inline const std::string CBT_BACKUP = "CBTBackup";
inline const std::string CBT_RESTORE = "CBTRestore";
inline const std::string SAN_BACKUP = "SANBackup";
inline const std::string SAN_RESTORE = "SANRestore";
inline const std::string RESTORE_VOLUME = "RestoreVol";
} // namespace TaskMode

namespace TransferMode {
inline const std::string LAN_SSL = "lanssl";
inline const std::string LAN = "lan";
} // namespace TransferMode

} // namespace TaskConstant

#endif
