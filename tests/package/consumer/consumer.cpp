// A service that uses the installed library: asks a session that is not logged in, and a disk's URN.
#include "common/disk_descriptor_manager.h"
#include "device/delete_resource.h"
#include "disklib/zav_storage_disk_lib.h"
#include "rest/nimb_rest_api.h"
#include "rest/zav_rest_api.h"

#include <iostream>

int main()
{
    ZavRestApi api("");
    std::string text;
    std::cout << api.GetSerialNum(text, text) << ' ' << DiskDescriptorManager::urnToUri("urn") << '\n';
    return ZavStorageDiskLib::GetInstance() != nullptr ? 0 : 1;
}
