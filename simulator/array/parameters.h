#ifndef ZAVSIM_ARRAY_PARAMETERS_H
#define ZAVSIM_ARRAY_PARAMETERS_H

#include "simulator/array/kinds.h"
#include "simulator/message/message.h"

#include <json/value.h>

#include <map>
#include <string>

namespace ZavSim {

/// What a request to the array brings along, from its query or its JSON body. Every value is a text. What is missing or
/// malformed throws Refusal with ParameterBad naming the parameter.
class Parameters {
public:
    explicit Parameters(std::map<std::string, std::string> values)
        : m_values(std::move(values))
    {
    }

    /// The members of a JSON object; all of them must be texts.
    static Parameters FromBody(const HttpRequest& request);

    /// Empty when it is not there.
    std::string Get(const std::string& name) const;
    std::string Require(const std::string& name) const;
    Kind RequireKind(const std::string& name) const;

    /// A type code that need not be there, but when it is, must be that of the kind.
    void AllowKind(const std::string& name, Kind kind) const;

private:
    std::map<std::string, std::string> m_values;
};

/// The request's body, a JSON object, or Refusal with ParameterBad.
const Json::Value& RequireObject(const HttpRequest& request);

} // namespace ZavSim

#endif
