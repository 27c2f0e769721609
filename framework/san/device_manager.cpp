#include "common/framework/san_manager.h"

#include "base/host_port.h"
#include "framework/http/scheme_memory.h"
#include "framework/san/handlers.h"
#include "framework/support/log_line.h"

#include <exception>
#include <memory>

namespace Framework {

namespace {

constexpr unsigned int HTTP_PORT = 80;
constexpr unsigned int MAX_PORT = 65535;

/// The SAN management over the array's REST interface, with one handler of each kind.
class DeviceManager final : public CDeviceManager {
public:
    DeviceManager() = default;
    DeviceManager(const DeviceManager&) = delete;
    DeviceManager& operator=(const DeviceManager&) = delete;
    ~DeviceManager() override = default;

    CHandler* GetHandler(HANDLERTYPE type) override
    {
        switch (type) {
        case HANDLER_LUN_GROUP:
            return &m_lunGroups;
        case HANDLER_HOST:
            return &m_hosts;
        case HANDLER_HOST_GROUP:
            return &m_hostGroups;
        case HANDLER_MAPPING_VIEW:
            return &m_mappingViews;
        case HANDLER_ISCSI_INITIATOR:
            return &m_iscsiInitiators;
        case HANDLER_FC_INITIATOR:
            return &m_fcInitiators;
        }
        return nullptr;
    }

    bool Connect(const std::string& address, unsigned int& port, const std::string& deviceId, const std::string& token,
                 const std::string& cookie) override
    {
        try {
            if (address.empty() || port > MAX_PORT) {
                throw ArrayError("connect to \"" + address + "\", port " + std::to_string(port) +
                                 ", failed: that is no address");
            }
            port = port == 0 ? HTTP_PORT : port;
            const std::string server = Base::HostAndPort(address, port);
            // The login that opened the session went over the right scheme and was answered.
            const std::string known = SchemeMemory::Find(server);
            const std::string url = (known.empty() ? "https" : known) + "://" + server;
            m_session.Attach(url, deviceId, token, cookie);
            m_session.Call("connect to " + url, "GET", "system/");
            return true;
        } catch (const std::exception& error) {
            m_session.Detach();
            FRAMEWORK_LOG(Error) << error.what();
            return false;
        }
    }

private:
    ArraySession m_session; // before the handlers, which use it
    LunGroupHandler m_lunGroups{m_session, Kind::LUN_GROUP};
    HostHandler m_hosts{m_session, Kind::HOST};
    HostGroupHandler m_hostGroups{m_session, Kind::HOST_GROUP};
    MappingViewHandler m_mappingViews{m_session, Kind::MAPPING_VIEW};
    InitiatorHandler<IscsiInitiatorMO> m_iscsiInitiators{m_session, Kind::ISCSI_INITIATOR,
                                                         "iscsi_initiator/add_iscsi_to_host"};
    InitiatorHandler<FCInitiatorMO> m_fcInitiators{m_session, Kind::FC_INITIATOR, "fc_initiator/add_fc_to_host"};
};

} // namespace

} // namespace Framework

// The arguments mean something to the product's own library only.
CDeviceManager* CDeviceManager::getInstance(unsigned int /*mode*/, unsigned int /*limit*/)
{
    try {
        return std::make_unique<Framework::DeviceManager>().release();
    } catch (const std::exception&) {
        return nullptr; // out of memory
    }
}

void CDeviceManager::releaseInstance(CDeviceManager* manager)
{
    const std::unique_ptr<Framework::DeviceManager> owner(static_cast<Framework::DeviceManager*>(manager));
}
