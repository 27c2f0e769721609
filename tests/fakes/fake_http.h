#ifndef PRODUCT_STORAGE_TESTS_FAKES_FAKE_HTTP_H
#define PRODUCT_STORAGE_TESTS_FAKES_FAKE_HTTP_H

#include "common/framework/http_client.h"

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// What the fake client gives back for one request.
struct Answer {
    bool isNone = false; ///< no response object at all
    bool isSuccess = false;
    int status = 0;
    std::string statusText;
    int networkError = 0;
    std::string errorText;
    std::string body;
    std::set<std::string> cookies;

    Answer& WithCookie(const std::string& cookie);
};

/// A success answer whose body is `body` as it stands.
Answer Body(const std::string& body);

/// A success answer in the array's envelope, with `data` (JSON) or without any.
Answer Data(const std::string& data);
Answer NoData();

/// A success answer in whose envelope the array refuses.
Answer ArrayError(int code, const std::string& description);
Answer HttpError(int status, const std::string& text);
Answer NetworkError(const std::string& text);
Answer NoResponse();

/// The HTTP client: answers by a script and records every request whole.
///
/// A request is answered by the first rule that matches its method and url and still has an answer; the last answer of
/// a rule is kept for all further requests when it was given by Always. A request without a rule fails the test.
class FakeHttp {
public:
    using Observer = std::function<void(const TMSHttpRequest&)>;

    /// Answers the next requests with `method` whose url ends with `urlEnd`, one answer each, in order.
    void On(const std::string& method, const std::string& urlEnd, const Answer& answer);
    void Always(const std::string& method, const std::string& urlEnd, const Answer& answer);

    /// Answers the next request, whatever it is.
    void Next(const Answer& answer);

    /// Called with each request while it is being sent, before it is answered.
    void Observe(const Observer& observer);

    /// From now on CreateClient gives no client, or one again.
    void RefuseClients(bool isRefused = true);

    /// From now on CreateClient gives `client`, which answers in place of the script and of which nothing is recorded.
    void Serve(const boost::shared_ptr<QEN::IHttpClient>& client);

    /// From now on CreateClient gives what `make` gives, or throws what it throws.
    void ServeBy(const std::function<boost::shared_ptr<QEN::IHttpClient>()>& make);

    /// CreateClient throws std::runtime_error with `text`; empty: no more.
    void ThrowOnCreate(const std::string& text);

    /// The connection test of `url` succeeds. Without this it fails.
    void AcceptsConnection(const std::string& url);

    void Clear();

    std::vector<TMSHttpRequest> Requests() const;

    /// "METHOD url" of every request, in order.
    std::vector<std::string> Lines() const;
    std::vector<unsigned int> Timeouts() const;

    /// (url, seconds) of every connection test, in order.
    std::vector<std::pair<std::string, int>> ConnectionTests() const;
    int ClientsMade() const;

    // What the client calls.
    boost::shared_ptr<QEN::IHttpClient> MakeClient();
    Answer Send(const TMSHttpRequest& request, unsigned int timeoutSeconds);
    bool Test(const std::string& url, int timeoutSeconds);

private:
    struct Rule {
        std::string method; ///< empty: any
        std::string urlEnd;
        Answer answer;
        bool isLasting = false;
    };

    mutable std::mutex m_lock;
    std::deque<Rule> m_rules;                                    // guarded by m_lock
    Observer m_observer;                                         // guarded by m_lock
    bool m_isRefusing = false;                                   // guarded by m_lock
    boost::shared_ptr<QEN::IHttpClient> m_client;                // guarded by m_lock; null: one that follows the script
    std::string m_createError;                                   // guarded by m_lock
    std::function<boost::shared_ptr<QEN::IHttpClient>()> m_make; // guarded by m_lock
    std::set<std::string> m_reachable;                           // guarded by m_lock
    std::vector<TMSHttpRequest> m_requests;                      // guarded by m_lock
    std::vector<unsigned int> m_timeouts;                        // guarded by m_lock
    std::vector<std::pair<std::string, int>> m_connectionTests;  // guarded by m_lock
    int m_clientsMade = 0;                                       // guarded by m_lock
};

#endif
