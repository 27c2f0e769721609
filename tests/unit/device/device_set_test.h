#ifndef PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DEVICE_SET_TEST_H
#define PRODUCT_STORAGE_TESTS_UNIT_DEVICE_DEVICE_SET_TEST_H

#include "common/framework/product_messages.pb.h"
#include "common/framework/san_manager.h"
#include "device/device_operate.h"
#include "device/device_set_operator.h"
#include "tests/unit/device/device_test.h"
#include "tests/unit/device/fake_array.h"
#include "tests/unit/device/node.h"

#include <boost/make_shared.hpp>

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// An operator of its own for each test, and the session of an array.
class DeviceSetTest : public DeviceTest {
protected:
    class OwnOperator : public DeviceSetOperator {
    public:
        bool PrepareAndCheckInit(const Zav::SessionInfo& session, const std::vector<std::string>& storageIps,
                                 const boost::shared_ptr<ZavRestApi>& api, ZavMapInfo& mapInfo) override
        {
            m_onPrepare();
            return m_prepared ? *m_prepared : DeviceSetOperator::PrepareAndCheckInit(session, storageIps, api, mapInfo);
        }

        std::function<void()> m_onPrepare = [] {};
        std::optional<bool> m_prepared; // what the check is to find; nothing: what it finds
    };

    static constexpr const char* NAME = "Vendrix_0123456789abcdefghijkl"; // the next generated one

    bool Init()
    {
        std::vector<std::uint32_t> numbers;
        for (std::uint32_t number = 0; number < 22; ++number) {
            numbers.push_back(number);
        }
        m_random.Give(numbers);
        return m_operator.InitDeviceSet(Session(), m_storageIps, m_array, m_mapInfo);
    }

    /// The node has an iSCSI initiator and reaches its target; whether it is logged in already is left open.
    void HaveIscsiNode()
    {
        Node::HasNoPorts();
        Node::HasInitiator("iqn.node");
        Node::LogsInto("10.0.0.8");
    }

    /// Provisions the node from nothing; what led there is forgotten.
    void InitSuccessfully()
    {
        HaveIscsiNode();
        ASSERT_TRUE(Init());
        m_log.Clear();
        m_san.Clear();
        m_random.Clear();
        m_mapInfo.Clear();
        m_array->ForgetCalls();
    }

    const boost::shared_ptr<FakeArray> m_array = boost::make_shared<FakeArray>();
    const std::vector<std::string> m_storageIps = {"10.0.0.8"};
    OwnOperator m_operator;
    ZavMapInfo m_mapInfo;
};

#endif
