#include "tests/fuzz/support/cluster_client.h"
#include "tests/fuzz/support/input.h"

#include <functional>

using namespace Fuzz;

namespace {

struct Outputs {
    std::string text = "before";
    std::vector<std::string> ips = {"before"};
    std::string errorText;
};

using Operation = std::function<int(NimbRestApi&, Outputs&)>;

const std::vector<Operation>& Queries()
{
    static const std::vector<Operation> QUERIES = {
        [](NimbRestApi& api, Outputs& out) { return api.GetStorageVersion(out.text, out.errorText); },
        [](NimbRestApi& api, Outputs& out) { return api.GetSerialNum(out.text, out.errorText); },
        [](NimbRestApi& api, Outputs& out) { return api.GetProductMode(out.text, out.errorText); },
        [](NimbRestApi& api, Outputs& out) { return api.GetManagementIP(out.ips, out.errorText); },
    };
    return QUERIES;
}

} // namespace

// Which query, or the login; the answer's body.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Input input(data, size);
    const std::size_t choice = input.TakeByte() % (Queries().size() + 1);
    const std::unique_ptr<NimbRestApi> api = ClusterClient(input.TakeRest());
    Outputs out;
    if (choice == Queries().size()) {
        const int result = api->Login("10.0.0.9", "28443", "admin", "secret", out.errorText);
        Require(result == 0 || result == 1, "one is logged in or not");
    } else {
        const int result = Queries()[choice](*api, out);
        Require(result == 0 || result == -1, "an answer that came gives no other result");
        Require(result == 0 || out.text == "before", "a failure leaves the text alone");
        Require(!out.ips.empty() && out.ips.front() == "before" && out.ips.size() <= 4,
                "at most three addresses are appended");
    }
    Require(Fakes::Http().Requests().size() == 1, "an answer with a success status is not asked for again");
    return 0;
}
