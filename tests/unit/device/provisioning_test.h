#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_PROVISIONING_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_PROVISIONING_TEST_H

#include "common/framework/san_manager.h"
#include "device/device_operate.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/device/fake_array.h"

#include <boost/make_shared.hpp>

#include <memory>
#include <set>
#include <string>

/// A device that is about to be provisioned: a SAN management handle and an array session are there.
class ProvisioningTest : public DeviceTest {
protected:
    struct Release {
        void operator()(CDeviceManager* manager) const { CDeviceManager::releaseInstance(manager); }
    };

    const std::unique_ptr<CDeviceManager, Release> m_handle{CDeviceManager::getInstance(0, 0)};
    CDeviceManager* const m_manager = m_handle.get();
    const boost::shared_ptr<FakeArray> m_array = boost::make_shared<FakeArray>();
    DeviceOperate m_device;
};

/// The node's initiators are to be added to a host: the one of m_hostId, or a new one called "name".
class InitiatorProvisioningTest : public ProvisioningTest {
protected:
    std::string m_hostId;
    std::string m_hostName = "name";
    std::set<std::string> m_hostIds;
};

#endif
