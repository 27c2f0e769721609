#ifndef ZAVSIM_ARRAY_ARRAY_SERVICE_H
#define ZAVSIM_ARRAY_ARRAY_SERVICE_H

#include "simulator/array/array_system.h"
#include "simulator/http/handler.h"
#include "simulator/http/target.h"

#include <json/value.h>

namespace ZavSim {

/// The array's management interface over HTTP: login and sessions, and the envelope around every answer. Everything
/// below PREFIX is answered with HTTP status 200; refusals are told in the envelope.
class ArrayService final : public HttpHandler {
public:
    static constexpr const char* PREFIX = "/deviceManager/rest/";

    /// The array must outlive it.
    explicit ArrayService(ArraySystem& array)
        : m_array(array)
    {
    }

    HttpAnswer Handle(const HttpRequest& request) override;
    HttpAnswer Refuse(const HttpRequest& request, const Fault& fault) const override;

private:
    HttpAnswer Login(const HttpRequest& request);
    HttpAnswer CallLoggedIn(const HttpRequest& request, const Target& target);

    ArraySystem& m_array;
};

} // namespace ZavSim

#endif
