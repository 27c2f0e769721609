#ifndef PRODUCT_STORAGE_TESTS_UNIT_REST_ZAV_REST_OPERATIONS_H
#define PRODUCT_STORAGE_TESTS_UNIT_REST_ZAV_REST_OPERATIONS_H

#include "rest/zav_rest_api.h"

#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// Everything that an operation may fill, with something in it that must not get lost.
struct Outputs {
    std::string text = "before";
    std::uint64_t number = 7;
    std::vector<std::string> texts = {"before"};
    std::vector<Zav::StoragePool> pools = std::vector<Zav::StoragePool>(1);
    std::vector<Zav::LunInfo> luns = std::vector<Zav::LunInfo>(1);
    bool flag = false;
};

/// One inventory or mapping operation of ZavRestApi as the array and the log see it.
struct RestOperation {
    std::string name;
    std::function<int(ZavRestApi& api, Outputs& out, std::string& errorText)> run;
    std::string method = "GET";
    std::string resource; ///< behind /deviceManager/rest/<device id>/
    std::string body = {};
    std::string failed = {};  ///< its line when the exchange failed; empty: none
    bool tellsReason = false; ///< the error text follows in that line
    std::string opening = {}; ///< its line at level 1 before anything else; empty: none
    std::string notLogined = "The device has not logined.";
    bool parsesCookie = false;
    bool clearsTexts = false; ///< empties its output first, also when it then fails
};

void PrintTo(const RestOperation& operation, std::ostream* out);

std::vector<RestOperation> InventoryOperations();
std::vector<RestOperation> CheckAndListOperations();

/// Those that take a code of the array's for done.
std::vector<RestOperation> RemovalOperations();

/// The removals of a group's members, which take none.
std::vector<RestOperation> MemberRemovalOperations();
std::vector<RestOperation> AllOperations();

#endif
