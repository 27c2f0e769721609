#include "tests/unit/rest/zav_rest_operations.h"

namespace {

RestOperation Reading(const std::string& name, const std::string& resource, const std::string& failed,
                      decltype(RestOperation::run) run)
{
    RestOperation operation;
    operation.name = name;
    operation.run = std::move(run);
    operation.resource = resource;
    operation.failed = failed;
    return operation;
}

RestOperation Deleting(const std::string& name, const std::string& resource, decltype(RestOperation::run) run)
{
    RestOperation operation = Reading(name, resource, name + " failed! reason: ", std::move(run));
    operation.method = "DELETE";
    operation.tellsReason = true;
    return operation;
}

RestOperation Detaching(const std::string& name, const std::string& resource, const std::string& body,
                        decltype(RestOperation::run) run)
{
    RestOperation operation = Deleting(name, resource, std::move(run));
    operation.method = "PUT";
    operation.body = body;
    operation.parsesCookie = true;
    return operation;
}

} // namespace

void PrintTo(const RestOperation& operation, std::ostream* out)
{
    *out << operation.name;
}

std::vector<RestOperation> InventoryOperations()
{
    std::vector<RestOperation> operations = {
        Reading("GetLunName", "lun/7", "",
                [](auto& api, auto& out, auto& error) { return api.GetLunName("7", out.text, error); }),
        Reading("GetHostName", "host/7", "",
                [](auto& api, auto& out, auto& error) { return api.GetHostName("7", out.text, error); }),
        Reading("GetLunCount", "lun/count", "",
                [](auto& api, auto& out, auto& error) { return api.GetLunCount(out.number, error); }),
        Reading("GetAllStoragePool", "storagepool", "Get all storagePool failed.",
                [](auto& api, auto& out, auto& error) { return api.GetAllStoragePool(out.pools, error); }),
        Reading("GetSerialNum", "system/", "",
                [](auto& api, auto& out, auto& error) { return api.GetSerialNum(out.text, error); }),
        Reading("GetProductMode", "system/", "",
                [](auto& api, auto& out, auto& error) { return api.GetProductMode(out.text, error); }),
        Reading("GetStorageIP", "eth_port?LOGICTYPE=0", "Get StorageIP failed.",
                [](auto& api, auto& out, auto& error) { return api.GetStorageIP(out.texts, error); }),
    };
    RestOperation page =
        Reading("GetLunListByPage", "lun?range=[100-150]", "Get lun list failed.",
                [](auto& api, auto& out, auto& error) { return api.GetLunListByPage(100, 50, out.luns, error); });
    page.opening = "offSet :100, count50";
    operations.push_back(page);

    RestOperation management =
        Reading("GetAllManagementV4IPs", "eth_port?selectType=2", "Failed to query management IPV4s from disk array.",
                [](auto& api, auto& out, auto& error) { return api.GetAllManagementV4IPs(out.texts, error); });
    management.notLogined = "Didn't login into this device.";
    management.clearsTexts = true;
    operations.push_back(management);
    return operations;
}

std::vector<RestOperation> CheckAndListOperations()
{
    return {
        Reading("CheckLunGroup", "lungroup/7", "",
                [](auto& api, auto&, auto& error) { return api.CheckLunGroup("7", "name", error); }),
        Reading("CheckHost", "host/7", "",
                [](auto& api, auto& out, auto& error) { return api.CheckHost("7", "name", error, out.flag); }),
        Reading("CheckHostGroup", "hostgroup/7", "",
                [](auto& api, auto&, auto& error) { return api.CheckHostGroup("7", "name", error); }),
        Reading("CheckMapView", "mappingview/7", "",
                [](auto& api, auto&, auto& error) { return api.CheckMapView("7", "name", error); }),
        Reading("IsOnlineFCInitiator", "fc_initiator/2100abcd", "",
                [](auto& api, auto&, auto& error) { return api.IsOnlineFCInitiator("2100abcd", error); }),
        Reading("GetLunIdByLunGroup", "lun/associate?TYPE=11&ASSOCIATEOBJTYPE=256&ASSOCIATEOBJID=7", "",
                [](auto& api, auto& out, auto& error) { return api.GetLunIdByLunGroup("7", out.texts, error); }),
        Reading("GetSnapshotIdByLunGroup", "snapshot/associate?TYPE=27&ASSOCIATEOBJTYPE=256&ASSOCIATEOBJID=7", "",
                [](auto& api, auto& out, auto& error) { return api.GetSnapshotIdByLunGroup("7", out.texts, error); }),
        Reading("GetIscsiInitiator", "iscsi_initiator?PARENTID=7", "GetIscsiInitiator failed!",
                [](auto& api, auto& out, auto& error) { return api.GetIscsiInitiator(out.texts, "7", error); }),
        Reading("GetFCInitiator", "fc_initiator?PARENTID=7", "GetFCInitiator failed!",
                [](auto& api, auto& out, auto& error) { return api.GetFCInitiator(out.texts, "7", error); }),
        Reading("GetAllHostIDFromHostGroup", "host/associate?ASSOCIATEOBJID=7&ASSOCIATEOBJTYPE=14&TYPE=21",
                "Get all all host id from host group failed.",
                [](auto& api, auto& out, auto& error) { return api.GetAllHostIDFromHostGroup("7", out.texts, error); }),
    };
}

std::vector<RestOperation> RemovalOperations()
{
    return {
        Detaching("RemoveHostGroup", "mappingview/REMOVE_ASSOCIATE",
                  "{\n\t\"ASSOCIATEOBJID\" : \"3\",\n\t\"ASSOCIATEOBJTYPE\" : \"14\",\n\t\"ID\" : \"5\",\n\t\"TYPE\" : "
                  "\"245\"\n}",
                  [](auto& api, auto&, auto& error) { return api.RemoveHostGroup("3", "5", error); }),
        Detaching(
            "RemoveLunGroup", "mappingview/REMOVE_ASSOCIATE",
            "{\n\t\"ASSOCIATEOBJID\" : \"3\",\n\t\"ASSOCIATEOBJTYPE\" : \"256\",\n\t\"ID\" : \"5\",\n\t\"TYPE\" : "
            "\"245\"\n}",
            [](auto& api, auto&, auto& error) { return api.RemoveLunGroup("3", "5", error); }),
        Detaching("RemoveIscsiInitiator", "iscsi_initiator/remove_iscsi_from_host",
                  "{\n\t\"ID\" : \"iqn.node\",\n\t\"TYPE\" : \"222\"\n}",
                  [](auto& api, auto&, auto& error) { return api.RemoveIscsiInitiator("iqn.node", error); }),
        Detaching("RemoveFCInitiator", "fc_initiator/remove_fc_from_host",
                  "{\n\t\"ID\" : \"2100abcd\",\n\t\"TYPE\" : \"223\"\n}",
                  [](auto& api, auto&, auto& error) { return api.RemoveFCInitiator("2100abcd", error); }),
        Deleting("RemoveHost", "host/associate?ASSOCIATEOBJID=7&ASSOCIATEOBJTYPE=21&ID=3&TYPE=14",
                 [](auto& api, auto&, auto& error) { return api.RemoveHost("7", "3", error); }),
        Deleting("DeleteMapView", "mappingview/7",
                 [](auto& api, auto&, auto& error) { return api.DeleteMapView("7", error); }),
        Deleting("DeleteHostGroup", "hostgroup/7",
                 [](auto& api, auto&, auto& error) { return api.DeleteHostGroup("7", error); }),
        Deleting("DeleteLunGroup", "lungroup/7",
                 [](auto& api, auto&, auto& error) { return api.DeleteLunGroup("7", error); }),
        Deleting("DeleteHost", "host/7", [](auto& api, auto&, auto& error) { return api.DeleteHost("7", error); }),
    };
}

std::vector<RestOperation> MemberRemovalOperations()
{
    std::vector<RestOperation> operations = {
        Deleting("RemoveLunFromLunGroup", "lungroup/associate?ID=3&ASSOCIATEOBJTYPE=11&ASSOCIATEOBJID=before",
                 [](auto& api, auto& out, auto& error) { return api.RemoveLunFromLunGroup("3", out.text, error); }),
        Deleting(
            "RemoveSnapshotFromLunGroup", "lungroup/associate?ID=3&ASSOCIATEOBJTYPE=27&ASSOCIATEOBJID=before",
            [](auto& api, auto& out, auto& error) { return api.RemoveSnapshotFromLunGroup("3", out.text, error); }),
    };
    for (RestOperation& operation : operations) {
        operation.failed.clear();
    }
    return operations;
}

std::vector<RestOperation> AllOperations()
{
    std::vector<RestOperation> all;
    for (const auto& rows :
         {InventoryOperations(), CheckAndListOperations(), RemovalOperations(), MemberRemovalOperations()}) {
        all.insert(all.end(), rows.begin(), rows.end());
    }
    return all;
}
