#include "common/task_constants.h"

#include <gtest/gtest.h>

namespace {

struct ConstantRow {
    const char* name;
    const std::string& constant;
    const char* text;
};

class TaskConstantTest : public ::testing::TestWithParam<ConstantRow> {};

TEST_P(TaskConstantTest, ConstantHasTheTaskFrameworksText)
{
    EXPECT_EQ(GetParam().text, GetParam().constant);
}

using namespace TaskConstant;

INSTANTIATE_TEST_SUITE_P(
    Constant, TaskConstantTest,
    ::testing::Values(
        ConstantRow{"Log", LOG, "LOG"}, ConstantRow{"HiddenText", HIDDEN_TEXT, "***"},
        ConstantRow{"EmptyText", EMPTY_TEXT, ""},
        ConstantRow{"DiskRestoreCreatedVolumes", DISK_RESTORE_CREATED_VOLUMES, "disk_restore_created_volumes"},
        ConstantRow{"DiskRestoreAttachedVolumes", DISK_RESTORE_ATTACHED_VOLUMES, "disk_restore_attached_volumes"},
        ConstantRow{"AddedStorageResource", ADDED_STORAGE_RESOURCE, "added_storage_resource"},
        ConstantRow{"AddedDatastore", ADDED_DATASTORE, "added_datastore"},
        ConstantRow{"TaskType", TASK_TYPE, "task_type"},
        ConstantRow{"IncrementalMachineRestore", INCREMENTAL_MACHINE_RESTORE, "IncrementalMachineRestore"},
        ConstantRow{"FlrPrefix", FLR_PREFIX, "QEN-FLR-"},
        ConstantRow{"InternalError", INTERNAL_ERROR, "internal error."}, ConstantRow{"Version", VERSION, "1.2"},
        ConstantRow{"Encoding", ENCODING, "UTF-8"}, ConstantRow{"Locale", LOCALE, "en_US"},
        ConstantRow{"NotExist", NOT_EXIST, "notexit"}, ConstantRow{"CurrentDirectory", CURRENT_DIRECTORY, "./"},
        ConstantRow{"Engine", ENGINE, "ParvexEngine"},
        ConstantRow{"DiffBitmapAndBitCount", DIFF_BITMAP_AND_BIT_COUNT, "DiffBitmapAndBit1Num"},
        ConstantRow{"FullSnapshot", FULL_SNAPSHOT, "QEN_FULL_SNAPSHOT"}, ConstantRow{"Ide", DiskType::IDE, "IDE"},
        ConstantRow{"Scsi", DiskType::SCSI, "SCSI"}, ConstantRow{"Virtio", DiskType::VIRTIO, "VIRTIO"},
        ConstantRow{"Lumeda", DiskType::LUMEDA, "LUMEDA"}, ConstantRow{"Virtual", DiskType::VIRTUAL, "VIRTUAL"},
        ConstantRow{"NotSupport", DiskType::NOT_SUPPORT, "NOT_SUPPORT"},
        ConstantRow{"VmUuid", Placeholder::VM_UUID, "###<vm_uuid>###"},
        ConstantRow{"VmUuidEnd", Placeholder::VM_UUID_END, "###<vm_uuid_end>###"},
        ConstantRow{"CbtBackup", TaskMode::CBT_BACKUP, "CBTBackup"},
        ConstantRow{"CbtRestore", TaskMode::CBT_RESTORE, "CBTRestore"},
        ConstantRow{"SanBackup", TaskMode::SAN_BACKUP, "SANBackup"},
        ConstantRow{"SanRestore", TaskMode::SAN_RESTORE, "SANRestore"},
        ConstantRow{"RestoreVolume", TaskMode::RESTORE_VOLUME, "RestoreVol"},
        ConstantRow{"LanSsl", TransferMode::LAN_SSL, "lanssl"}, ConstantRow{"Lan", TransferMode::LAN, "lan"}),
    [](const auto& row) { return row.param.name; });

} // namespace
