#ifndef ZAVSIM_PAGE_PAGE_SERVICE_H
#define ZAVSIM_PAGE_PAGE_SERVICE_H

#include "simulator/http/handler.h"

namespace ZavSim {

/// The page for people: files that are part of the program. They hold nothing of the simulation; what they show, and
/// what they change, they ask for below AdminService::PREFIX, by its rules.
class PageService final : public HttpHandler {
public:
    static constexpr const char* PREFIX = "/zavsim/page/";

    /// Whether somebody asks for the page itself: at "/", by a client that says it reads HTML, as browsers do. To all
    /// others there is nothing at "/".
    static bool IsAskedFor(const HttpRequest& request);

    HttpAnswer Handle(const HttpRequest& request) override;

    /// No fault comes here.
    HttpAnswer Refuse(const HttpRequest& request, const Fault& fault) const override;
};

} // namespace ZavSim

#endif
