#ifndef ZAVSIM_CLUSTER_DIALECTS_H
#define ZAVSIM_CLUSTER_DIALECTS_H

#include "simulator/cluster/cluster_codes.h"
#include "simulator/message/message.h"

#include <json/value.h>

namespace ZavSim {

// The two envelopes that the cluster's answers come in. All have HTTP status 200.
//
// V1: {"result": 0, ...}                                              the data beside "result"
//     {"result": 1, "detail": [{"description": ..., "errorCode": 5}]}
//     {"result": 2, "description": ..., "errorCode": "5"}
// V2: {"result": {"code": 0, "description": ...}, "data": ...}        without "data" when there is none

/// `data` is an object.
HttpAnswer SucceedInV1(const Json::Value& data);
HttpAnswer RefuseInV1(V1Result result, std::int64_t code, const std::string& description);

/// `data` is null when there is none.
HttpAnswer SucceedInV2(const Json::Value& data);
HttpAnswer RefuseInV2(std::int64_t code, const std::string& description);

} // namespace ZavSim

#endif
