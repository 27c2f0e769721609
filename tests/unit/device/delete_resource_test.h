#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DELETE_RESOURCE_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DELETE_RESOURCE_TEST_H

#include "device/delete_resource.h"
#include "tests/support/named_row.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/device/fake_array.h"

#include <boost/make_shared.hpp>

/// Host 12, host group 5, LUN group 31 and mapping view 7 are to be taken apart.
class DeleteResourceTest : public DeviceTest {
protected:
    DeleteResourceTest()
    {
        m_message.hostGroupId = "5";
        m_message.hostGroupName = "hosts";
        m_message.hostId = "12";
        m_message.hostName = "host";
        m_message.lunGroupId = "31";
        m_message.lunGroupName = "luns";
        m_message.mapViewId = "7";
        m_message.mapViewName = "view";
    }

    const boost::shared_ptr<FakeArray> m_array = boost::make_shared<FakeArray>();
    DeviceMessage m_message;
    DeleteResource m_resource;
    std::string m_errorText = "untouched";
};

#endif
