#ifndef PRODUCT_STORAGE_REST_ZAV_REST_API_H
#define PRODUCT_STORAGE_REST_ZAV_REST_API_H

#include "common/export.h"
#include "common/framework/http_client.h"
#include "common/records.h"
#include "rest/inventory_records.h"

#include <json/value.h>

#include <boost/shared_ptr.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

/// One logged-in session with one storage array's management REST interface.
///
/// Success is a 0 result: the error code in the answer's envelope was 0. -1 is this library's own failure (not logged
/// in, a missing or malformed member), -2 the name mismatch of the checks, -20000 a transport failure; anything else is
/// the array's code, unchanged. `errorText` is set when the array refused, when it answered with an HTTP failure or
/// with no envelope, and when the transport failed; it is left alone on success, without a response, by what is missing
/// or malformed in an answer's data, and when not logged in. Lists are appended to, not cleared, and on failure keep
/// what was read before it, unless an operation says otherwise. No exception leaves an operation. Nothing here retries
/// or logs in again: a session that the array has dropped shows as the array's code.
///
/// Threads: one object may be shared, and any operation may run beside any other. What is sent bears the session's
/// texts as they are at that moment: beside a removal that takes a new cookie from its answer (RemoveHostGroup,
/// RemoveLunGroup, RemoveIscsiInitiator, RemoveFCInitiator) the old one or the new one, each whole; beside a Login on
/// the same object perhaps the cookie of one session and the token of the other, which the array refuses. Owner: the
/// holders of its boost::shared_ptr; destruction does not log out.
class PRODUCT_STORAGE_API ZavRestApi {
public:
    /// `optionText` goes into every request's option text. Throws the threading library's resource error when its mutex
    /// cannot be made.
    explicit ZavRestApi(std::string optionText);
    ZavRestApi(const ZavRestApi&) = delete;
    ZavRestApi& operator=(const ZavRestApi&) = delete;
    virtual ~ZavRestApi();

    // ---- session

    /// `baseUrl` is protocol + "://" + address + ":" + port. A failed login leaves the logged-in state as it was, and
    /// may already have replaced cookie, device id or token.
    virtual int Login(const std::string& baseUrl, const std::string& userName, const std::string& password,
                      std::string& errorText);

    /// Counts as logged out from the start, even when the array refuses. 0 without a request when not logged in.
    virtual int Logout(std::string& errorText);

    /// False, with `session` untouched, when not logged in. The caller wipes token and cookie.
    virtual bool GetSession(Zav::SessionInfo& session);

    // ---- inventory

    virtual int GetLunName(const std::string& lunId, std::string& lunName, std::string& errorText);
    virtual int GetHostName(const std::string& hostId, std::string& hostName, std::string& errorText);
    virtual int GetLunCount(std::uint64_t& count, std::string& errorText);
    virtual int GetAllStoragePool(std::vector<Zav::StoragePool>& pools, std::string& errorText);

    /// Reads LUNs `offset` to `offset` + `count`: the range the array is asked for, on purpose, not one less.
    virtual int GetLunListByPage(std::uint64_t offset, std::uint64_t count, std::vector<Zav::LunInfo>& luns,
                                 std::string& errorText);

    /// 0 with the output unchanged when the array does not tell it; likewise GetProductMode.
    virtual int GetSerialNum(std::string& serial, std::string& errorText);
    virtual int GetProductMode(std::string& productMode, std::string& errorText);

    /// Clears `ips` first, also when it then fails.
    virtual int GetAllManagementV4IPs(std::vector<std::string>& ips, std::string& errorText);

    /// The array's service addresses: the iSCSI targets.
    virtual int GetStorageIP(std::vector<std::string>& ips, std::string& errorText);

    // ---- mapping objects: checks

    /// 0 when the id names an object of that name (compared byte by byte), -2 when it names another.
    virtual int CheckLunGroup(const std::string& lunGroupId, const std::string& lunGroupName, std::string& errorText);

    /// `isAddedToHostGroup` is only ever set to true; the caller initialises it.
    virtual int CheckHost(const std::string& hostId, const std::string& hostName, std::string& errorText,
                          bool& isAddedToHostGroup);
    virtual int CheckHostGroup(const std::string& hostGroupId, const std::string& hostGroupName,
                               std::string& errorText);
    virtual int CheckMapView(const std::string& mapViewId, const std::string& mapViewName, std::string& errorText);

    /// 0 when the array sees the FC initiator online, -1 when it does not.
    virtual int IsOnlineFCInitiator(const std::string& wwn, std::string& errorText);

    // ---- mapping objects: listings

    virtual int GetLunIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& lunIds,
                                   std::string& errorText);
    virtual int GetSnapshotIdByLunGroup(const std::string& lunGroupId, std::vector<std::string>& snapshotIds,
                                        std::string& errorText);
    virtual int GetIscsiInitiator(std::vector<std::string>& initiatorIds, const std::string& hostId,
                                  std::string& errorText);
    virtual int GetFCInitiator(std::vector<std::string>& initiatorIds, const std::string& hostId,
                               std::string& errorText);
    virtual int GetAllHostIDFromHostGroup(const std::string& hostGroupId, std::vector<std::string>& hostIds,
                                          std::string& errorText);

    // ---- mapping objects: removal; what is gone already counts as removed

    /// An answer that sets no cookie gives -1, also after a successful removal; likewise RemoveLunGroup,
    /// RemoveIscsiInitiator and RemoveFCInitiator.
    virtual int RemoveHostGroup(const std::string& hostGroupId, const std::string& mapViewId, std::string& errorText);
    virtual int RemoveLunGroup(const std::string& lunGroupId, const std::string& mapViewId, std::string& errorText);
    virtual int RemoveHost(const std::string& hostId, const std::string& hostGroupId, std::string& errorText);
    virtual int RemoveIscsiInitiator(const std::string& initiatorId, std::string& errorText);
    virtual int RemoveFCInitiator(const std::string& initiatorId, std::string& errorText);

    /// No code of the array counts as done here; likewise RemoveSnapshotFromLunGroup. `lunId` is not changed.
    virtual int RemoveLunFromLunGroup(const std::string& lunGroupId, std::string& lunId, std::string& errorText);
    virtual int RemoveSnapshotFromLunGroup(const std::string& lunGroupId, std::string& snapshotId,
                                           std::string& errorText);
    virtual int DeleteMapView(const std::string& mapViewId, std::string& errorText);
    virtual int DeleteHostGroup(const std::string& hostGroupId, std::string& errorText);
    virtual int DeleteLunGroup(const std::string& lunGroupId, std::string& errorText);
    virtual int DeleteHost(const std::string& hostId, std::string& errorText);

    // ---- what every operation is built on

    /// Sets url, option text and session headers; the caller sets method and body.
    void BuildBaseRequest(TMSHttpRequest& request, const std::string& resource);

    /// key=value pairs joined by '&' in key order; nothing is escaped.
    std::string ToQueryString(const std::map<std::string, std::string>& parameters);

    /// The request-rate guard: true when this request follows the previous ones too closely.
    bool CheckDosAttack();

    /// Sends one request, after a pause when the rate guard asks for one, and unwraps the answer.
    int SendAndParseRsp(const TMSHttpRequest& request, Json::Value& data, std::string& errorText, bool parseCookie);

    /// Unwraps the envelope. `data` is left unchanged when the answer carries none.
    int ParseRsp(const std::string& body, Json::Value& data, std::string& errorText);

    /// Takes device id and token; changes nothing when either is missing.
    int ParseLoginRespons(const Json::Value& data);

    /// Takes the part before the first ';' of the cookie that sorts first.
    int ParseCookie(const std::set<std::string>& cookies);

private:
    struct PRODUCT_STORAGE_LOCAL Call;
    struct PRODUCT_STORAGE_LOCAL Mismatch;
    struct PRODUCT_STORAGE_LOCAL Removal;

    using Visitor = std::function<void(const Json::Value&)>;

    PRODUCT_STORAGE_LOCAL bool CountAsLoggedOut();
    PRODUCT_STORAGE_LOCAL bool IsLoggedIn() const;
    PRODUCT_STORAGE_LOCAL int UnwrapResponse(const QEN::IHttpResponse* response, Json::Value& data,
                                             std::string& errorText, bool parseCookie);
    PRODUCT_STORAGE_LOCAL bool IsReadyFor(const Call& call) const;
    PRODUCT_STORAGE_LOCAL int Send(const Call& call, Json::Value& data, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int Perform(const Call& call, Json::Value& data, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int ReadText(const Call& call, const char* member, std::string& text, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int ReadOptionalText(const Call& call, const char* member, std::string& text,
                                               std::string& errorText);
    PRODUCT_STORAGE_LOCAL int ReadList(const Call& call, const Visitor& visit, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int CheckName(const Call& call, const std::string& expectedName, const Mismatch& mismatch,
                                        Json::Value& data, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int ListGroupMembers(const Call& call, const std::string& lunGroupId,
                                               std::vector<std::string>& ids, std::string& errorText);
    PRODUCT_STORAGE_LOCAL int Remove(const Removal& removal, std::string& errorText);

    boost::shared_ptr<QEN::IHttpClient> m_httpClient;
    bool m_isLogined = false; // guarded by m_sessionLock
    std::string m_baseUrl;    // guarded by m_sessionLock
    std::string m_deviceId;   // guarded by m_sessionLock
    std::string m_token;      // guarded by m_sessionLock
    std::string m_cookie;     // guarded by m_sessionLock
    boost::recursive_mutex m_guardLock;
    std::int64_t m_guardTime = 0;   // guarded by m_guardLock; seconds since the epoch, of the last request let pass
    std::uint64_t m_guardCount = 0; // guarded by m_guardLock; requests in the current burst
    std::string m_optionText;
    mutable std::mutex m_sessionLock; // for a copy or a replacement only; nothing is called while it is held
};

#endif
