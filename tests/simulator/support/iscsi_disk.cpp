#include "tests/simulator/support/iscsi_disk.h"

#include <gtest/gtest.h>

#include <iscsi/iscsi.h>
#include <iscsi/scsi-lowlevel.h>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>

namespace ZavSimTest {

namespace {

constexpr int SECTOR_SIZE = 512;
constexpr int PAGE_BYTES = 255;
constexpr int LIST_BYTES = 4096;
constexpr int ANSWER_SECONDS = 10;

using Task = std::unique_ptr<scsi_task, void (*)(scsi_task*)>;

Task Own(scsi_task* task)
{
    return {task, &scsi_free_scsi_task};
}

bool IsGood(const Task& task)
{
    return task && task->status == SCSI_STATUS_GOOD;
}

/// What a disk has to tell (a power-on, a change) it tells once, in place of an answer.
void ClearAttention(iscsi_context* context, int lun)
{
    constexpr int TELLINGS = 3;
    for (int i = 0; i < TELLINGS && !IsGood(Own(iscsi_testunitready_sync(context, lun))); ++i) {
    }
}

} // namespace

IscsiDisk::IscsiDisk(const std::string& initiator, const std::string& address, const std::string& target)
    : m_context(iscsi_create_context(initiator.c_str()), &iscsi_destroy_context)
{
    iscsi_context* const context = m_context.get();
    iscsi_set_noautoreconnect(context, 1);
    iscsi_set_timeout(context, ANSWER_SECONDS);
    iscsi_set_session_type(context, ISCSI_SESSION_NORMAL);
    iscsi_set_targetname(context, target.c_str());
    m_isLoggedIn = iscsi_connect_sync(context, (address + ":3260").c_str()) == 0 && iscsi_login_sync(context) == 0;
}

IscsiDisk::~IscsiDisk()
{
    if (m_context && m_isLoggedIn) {
        iscsi_logout_sync(m_context.get());
    }
}

bool IscsiDisk::AwaitCut() const
{
    constexpr int PATIENCE_MILLISECONDS = 10000;
    const int socket = iscsi_get_fd(m_context.get());
    pollfd waiting{socket, POLLIN, 0};
    char byte = 0;
    return ::poll(&waiting, 1, PATIENCE_MILLISECONDS) > 0 && ::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) <= 0;
}

std::vector<int> IscsiDisk::ReportLuns()
{
    std::vector<int> numbers;
    ClearAttention(m_context.get(), 0);
    const Task task = Own(iscsi_reportluns_sync(m_context.get(), 0, LIST_BYTES));
    EXPECT_TRUE(IsGood(task)) << iscsi_get_error(m_context.get());
    if (IsGood(task)) {
        const auto* const list = static_cast<scsi_reportluns_list*>(scsi_datain_unmarshall(task.get()));
        for (std::uint32_t i = 0; i < list->num; ++i) {
            numbers.push_back(list->luns[i]);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

IscsiDisk::Shape IscsiDisk::Describe(int lun)
{
    Shape shape;
    ClearAttention(m_context.get(), lun);
    const Task capacity = Own(iscsi_readcapacity16_sync(m_context.get(), lun));
    const Task serial =
        Own(iscsi_inquiry_sync(m_context.get(), lun, 1, SCSI_INQUIRY_PAGECODE_UNIT_SERIAL_NUMBER, PAGE_BYTES));
    const Task names =
        Own(iscsi_inquiry_sync(m_context.get(), lun, 1, SCSI_INQUIRY_PAGECODE_DEVICE_IDENTIFICATION, PAGE_BYTES));
    if (!IsGood(capacity) || !IsGood(serial) || !IsGood(names)) {
        ADD_FAILURE() << "LUN " << lun << ": " << iscsi_get_error(m_context.get());
        return shape;
    }
    const auto* const size = static_cast<scsi_readcapacity16*>(scsi_datain_unmarshall(capacity.get()));
    shape.sectors = size->returned_lba + 1;
    shape.sectorSize = size->block_length;
    const auto bytes = [](const Task& task) {
        return std::string(reinterpret_cast<const char*>(task->datain.data),
                           static_cast<std::size_t>(task->datain.size));
    };
    shape.serial = bytes(serial);
    shape.designators = bytes(names);
    return shape;
}

void IscsiDisk::Write(int lun, std::uint32_t sector, const std::string& bytes)
{
    ClearAttention(m_context.get(), lun);
    std::string copy = bytes;
    const Task task =
        Own(iscsi_write10_sync(m_context.get(), lun, sector, reinterpret_cast<unsigned char*>(copy.data()),
                               static_cast<std::uint32_t>(copy.size()), SECTOR_SIZE, 0, 0, 0, 0, 0));
    EXPECT_TRUE(IsGood(task)) << iscsi_get_error(m_context.get());
}

std::string IscsiDisk::Read(int lun, std::uint32_t sector, std::size_t size)
{
    ClearAttention(m_context.get(), lun);
    const Task task = Own(
        iscsi_read10_sync(m_context.get(), lun, sector, static_cast<std::uint32_t>(size), SECTOR_SIZE, 0, 0, 0, 0, 0));
    if (!IsGood(task)) {
        ADD_FAILURE() << iscsi_get_error(m_context.get());
        return "";
    }
    return {reinterpret_cast<const char*>(task->datain.data), static_cast<std::size_t>(task->datain.size)};
}

} // namespace ZavSimTest
